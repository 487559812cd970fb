#include "QLMlib/common/nls/Messages.h"

#include <clocale>
#include <cstring>

#include <unistd.h>

#include "QLMlib/common/nls/Catalog.h"
#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/nls/MessageFormat.h"
#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/ut/GlobalRC.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

MutexHandle nls_mutex;
std::string zemLocale;

namespace {

constexpr char LIBRARY_CATALOG_NAME[] = "zemclientV3.cat";
constexpr std::string_view LIBRARY_FAMILY = "ZNS";
constexpr uint32_t INTERNAL_ERROR_MESSAGE = 263;
constexpr uint8_t SEVERITY_ERROR = 6;

nlsObject_t jobCatalogs;
nlsObject_t libraryCatalogs;

/// Holds nls_mutex.
class CatalogLock {
 public:
  CatalogLock() : lock_(nls_mutex) {
    if (!held()) TRACE(TR_MIN, "Unable to acquire NLS mutex\n");
  }
  ~CatalogLock() {
    if (lock_.release() == 0) return;
    TRACE(TR_MIN, "Unable to release NLS mutex\n");
    issueInternalError(__FILE__, __LINE__, "Unable to release NLS mutex\n");
  }
  CatalogLock(const CatalogLock&) = delete;
  CatalogLock& operator=(const CatalogLock&) = delete;

  bool held() const { return lock_.held(); }

 private:
  MutexLock lock_;
};

/// The library's numbers and the job's have no number in common.
bool isLibraryNumber(uint32_t number) {
  return number < 300 || number == 1111 || number == 9999;
}

bool isLibraryIdentifier(std::string_view identifier) {
  return identifier.substr(0, LIBRARY_FAMILY.size()) == LIBRARY_FAMILY;
}

nlsObject_t& catalogsOf(bool library) {
  return library ? libraryCatalogs : jobCatalogs;
}

std::string environmentLanguage() {
  if (!zemLocale.empty()) return zemLocale;
  const char* language = std::setlocale(LC_MESSAGES, nullptr);
  return language == nullptr ? "" : language;
}

std::string catalogText(const Message& message) {
  const CatalogLock lock;
  if (!lock.held()) return "";
  const NLSMsg* entry = catalogsOf(isLibraryIdentifier(message.identifier)).GetMsgOrEnglish(message.number);
  return entry == nullptr ? "" : entry->text;
}

bool openCatalogs(const std::string& catalogName, const std::string& directory) {
  const std::string language = environmentLanguage();
  std::string englishPath;
  std::string languageFailure;
  if (!jobCatalogs.open(directory, catalogName, language, englishPath, languageFailure)) {
    tellStarter(STDERR_FILENO, "ZNS0101E Unable to open English message repository '" + englishPath + "'.\n");
    return false;
  }
  if (!languageFailure.empty()) {
    tellStarter(STDERR_FILENO, "ZNS0102W Unable to open the message repository " + languageFailure +
                                   ". The American English repository will be used instead.\n");
  }
  libraryCatalogs.open(directory, LIBRARY_CATALOG_NAME, language, englishPath, languageFailure);
  return true;
}

}  // namespace

int initializeMessages(const std::string& catalogName, const std::string& directory, int32_t dateFormat,
                       int32_t timeFormat, int32_t numberFormat) {
  // A locale that the host does not have leaves the category as it is, "C" at start.
  std::setlocale(LC_MESSAGES, "");
  std::setlocale(LC_TIME, "");
  setFormats(dateFormat, timeFormat, numberFormat);

  if (!nls_mutex) nls_mutex = pkCreateMutex();
  gRC = GlobalRC::getInstance();
  gRC->connect({.severity = messageSeverity, .internalError = issueInternalError});

  const CatalogLock lock;
  return lock.held() && openCatalogs(catalogName, directory) ? 0 : -1;
}

void closeMessages() {
  if (!nls_mutex) return;
  const CatalogLock lock;
  jobCatalogs.close();
  libraryCatalogs.close();
}

uint8_t messageSeverity(uint32_t number) {
  const CatalogLock lock;
  if (!lock.held()) return SEVERITY_ERROR;
  const NLSMsg* message = catalogsOf(isLibraryNumber(number)).GetMsgOrEnglish(number);
  return message == nullptr ? SEVERITY_NOT_FOUND : message->severity;
}

std::string formatMessage(const Message& message, const MessageInserts& inserts) {
  std::string text = insertItems(catalogText(message), inserts);
  if (gRC != nullptr) gRC->set(message.number);
  return text;
}

std::string messageText(const Message& message) {
  return catalogText(message);
}

void issueInternalError(const char* file, unsigned line, const char* text) {
  // What failed may be the very lock that the catalog needs: it is not waited for.
  std::string message = text;
  if (nls_mutex && pkTryMutex(nls_mutex.get()) == 0) {
    const NLSMsg* entry = libraryCatalogs.GetMsgOrEnglish(INTERNAL_ERROR_MESSAGE);
    if (entry != nullptr) {
      message = insertItems(entry->text, {std::string(file), static_cast<uint64_t>(line), std::string(text)});
    }
    pkReleaseMutex(nls_mutex.get());
  }
  TRACE(TR_MIN, "%s", message.c_str());
}

}  // namespace agent
