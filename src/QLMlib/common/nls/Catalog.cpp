#include "QLMlib/common/nls/Catalog.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>

#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr int CATALOG_SET = 1;
constexpr int CATALOG_OPEN_FLAG = 1;  // NL_CAT_LOCALE
constexpr size_t PATH_LIMIT = 1279;
constexpr char FORMAT_MARKER = 18;
constexpr size_t FORMAT_TAIL = 7;  // the marker stands within these last bytes
constexpr std::string_view ENGLISH = "en_US";

struct LanguageRow {
  std::string_view code;
  const char* directory;
};
constexpr std::array<LanguageRow, 11> LANGUAGES{{{"Ja", "Ja_JP"},
                                                 {"Zh", "Zh_CN"},
                                                 {"de", "de_DE"},
                                                 {"en", "en_US"},
                                                 {"es", "es_ES"},
                                                 {"fr", "fr_FR"},
                                                 {"it", "it_IT"},
                                                 {"ja", "ja_JP"},
                                                 {"ko", "ko_KR"},
                                                 {"pt", "pt_BR"},
                                                 {"zh", "zh_CN"}}};

/// Severities count up along these letters.
constexpr std::string_view SEVERITY_LETTERS = "ZTRKIWESL";

bool keepsIdentifier(uint8_t severity) {
  return severity >= 3 && severity != 8;
}

bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

// ---- the file, as gencat of the GNU C library writes it ----
//
//     magic, plane size, plane depth | table, little-endian | table, big-endian | strings
//
// All numbers have 32 bits. A table holds plane size * plane depth rows of set, number and offset among the
// strings, which end in a NUL each.

constexpr size_t HEADER_BYTES = 12;
constexpr uint32_t CATALOG_MAGIC = 0x960408de;
constexpr uint64_t CATALOG_SIZE_LIMIT = uint64_t{16} * 1024 * 1024;

uint32_t littleEndian(const std::string& bytes, size_t at) {
  uint32_t number = 0;
  for (size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

uint32_t bigEndian(const std::string& bytes, size_t at) {
  uint32_t number = 0;
  for (size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

bool offsetsAreWithin(const std::string& bytes, size_t table, uint64_t rows, uint64_t stringBytes,
                      uint32_t (*read)(const std::string&, size_t)) {
  for (uint64_t row = 0; row < rows; ++row) {
    if (read(bytes, table + row * 12 + 8) >= stringBytes) return false;
  }
  return true;
}

bool tablesAreSound(const std::string& bytes) {
  if (bytes.size() < HEADER_BYTES || bytes.back() != '\0') return false;
  auto* read = littleEndian(bytes, 0) == CATALOG_MAGIC ? littleEndian : bigEndian;
  if (read(bytes, 0) != CATALOG_MAGIC) return false;

  const uint64_t planeSize = read(bytes, 4);
  const uint64_t planeDepth = read(bytes, 8);
  const uint64_t most = bytes.size() / 24;  // rows of both tables
  if (planeSize == 0 || planeDepth == 0 || planeSize > most || planeDepth > most / planeSize) return false;
  const uint64_t rows = planeSize * planeDepth;
  if (HEADER_BYTES + rows * 24 >= bytes.size()) return false;

  const uint64_t stringBytes = bytes.size() - HEADER_BYTES - rows * 24;
  return offsetsAreWithin(bytes, HEADER_BYTES, rows, stringBytes, littleEndian) &&
         offsetsAreWithin(bytes, HEADER_BYTES + rows * 12, rows, stringBytes, bigEndian);
}

bool isSoundCatalog(const std::string& path) {
  const OwnedDescriptor descriptor = openFile(path.c_str(), O_RDONLY | O_NONBLOCK);
  struct stat status;
  if (!descriptor || sys.fstat(descriptor.get(), &status) == -1 || !S_ISREG(status.st_mode)) return false;
  const auto size = static_cast<uint64_t>(status.st_size);
  if (size > CATALOG_SIZE_LIMIT) return false;

  std::string bytes(size, '\0');
  return readAt(descriptor.get(), bytes.data(), size, 0) == static_cast<ssize_t>(size) &&
         tablesAreSound(bytes);
}

/// The path of a catalog, empty if it would be too long.
std::string openCat(const std::string& directory, const std::string& language, const std::string& file) {
  std::string path = directory + "/" + language + "/" + file;
  if (path.size() >= PATH_LIMIT) {
    TRACE(TR_MIN, "openCat(): The passed arguments are too long\n");
    path.clear();
  }
  return path;
}

/// Takes the format information off the end of an entry.
void splitFormatInfo(NLSMsg& message) {
  const size_t from = message.text.size() > FORMAT_TAIL ? message.text.size() - FORMAT_TAIL : 0;
  const size_t marker = message.text.find(FORMAT_MARKER, from);
  if (marker == std::string::npos) return;
  const std::string information = message.text.substr(marker + 1);
  std::copy(information.begin(), information.end(), message.formatInfo.begin());
  message.text.resize(marker);
}

}  // namespace

std::optional<NLSMsg> parseCatalogEntry(uint32_t number, std::string_view entry, bool& corrupt) {
  corrupt = true;
  size_t letterAt = 4;  // three letters of the family and a digit stand before it at least
  while (letterAt < entry.size() && isDigit(entry[letterAt])) ++letterAt;
  if (letterAt >= entry.size() || !isDigit(entry[3])) return std::nullopt;
  const char letter = entry[letterAt];
  if (letter == 'M') {
    corrupt = false;
    return std::nullopt;
  }
  const size_t severity = SEVERITY_LETTERS.find(letter);
  if (severity == std::string_view::npos) return std::nullopt;
  corrupt = false;

  NLSMsg message;
  message.number = static_cast<uint16_t>(number);
  message.severity = static_cast<uint8_t>(severity);
  message.text = entry;
  splitFormatInfo(message);
  if (!keepsIdentifier(message.severity)) {
    size_t textAt = letterAt + 1;
    if (textAt < message.text.size() && message.text[textAt] == ' ') ++textAt;
    message.text.erase(0, textAt);
  } else if (letterAt - 3 > 4) {
    message.text.erase(3, 1);
  }
  return message;
}

std::string languageDirectory(std::string_view language) {
  if (language.substr(0, 10) == "zh_TW.BIG5") return "Zh_TW";
  for (const LanguageRow& row : LANGUAGES) {
    // "deutsch" is none of the names that locales bear.
    const bool whole = language.size() == 2 ||
                       (language.size() > 2 && !std::isalpha(static_cast<unsigned char>(language[2])));
    if (whole && language.substr(0, 2) == row.code) return row.directory;
  }
  TRACE(TR_MIN, "Language specification \"%.*s\" not found, substituting US English\n",
        static_cast<int>(language.size()), language.data());
  return std::string(ENGLISH);
}

nl_catd CatalogFile::noHandle() {
  return reinterpret_cast<nl_catd>(-1);  // NOLINT(performance-no-int-to-ptr): what catopen(3) returns
}

bool CatalogFile::open(const std::string& path) {
  close();
  if (path.empty() || !isSoundCatalog(path)) return false;
  handle_ = catopen(path.c_str(), CATALOG_OPEN_FLAG);
  return isOpen();
}

void CatalogFile::close() {
  if (isOpen()) catclose(handle_);
  handle_ = noHandle();
}

const char* CatalogFile::entry(uint32_t number) const {
  static constexpr char ABSENT[] = "ZNS1111M Error retrieving message %d from zemclientV3.cat.\n";
  if (!isOpen() || number == 0 || number > UINT16_MAX) return nullptr;
  const char* text = catgets(handle_, CATALOG_SET, static_cast<int>(number), ABSENT);
  return std::strcmp(text, ABSENT) == 0 ? nullptr : text;
}

bool nlsObject_t::open(const std::string& directory, const std::string& file, const std::string& language,
                       std::string& englishPath, std::string& languageFailure) {
  close();
  languageFailure.clear();
  englishPath = directory + "/" + std::string(ENGLISH) + "/" + file;
  if (!english_.file.open(openCat(directory, std::string(ENGLISH), file))) return false;

  const std::string languageName = languageDirectory(language);
  if (languageName == ENGLISH) return true;
  if (!language_.file.open(openCat(directory, languageName, file))) {
    languageFailure = directory + "/" + languageName + "/" + file;
  }
  return true;
}

void nlsObject_t::close() {
  for (CachedCatalog* catalog : {&language_, &english_}) {
    catalog->file.close();
    catalog->cache.clear();
  }
  useEnglishNext_ = false;
}

const NLSMsg* nlsObject_t::GetMsg(uint32_t number) {
  TRACE(TR_NLS, "Searching for message number: %u\n", number);
  CachedCatalog& catalog = useEnglishNext_ || !language_.file.isOpen() ? english_ : language_;
  useEnglishNext_ = false;
  if (const NLSMsg* cached = findCached(catalog, number)) return cached;
  return readMessage(catalog, number);
}

const NLSMsg* nlsObject_t::GetMsgOrEnglish(uint32_t number) {
  const NLSMsg* message = GetMsg(number);
  if (message != nullptr || !language_.file.isOpen()) return message;
  useEnglishNext();
  return GetMsg(number);
}

const NLSMsg* nlsObject_t::findCached(CachedCatalog& catalog, uint32_t number) {
  std::list<NLSMsg>& cache = catalog.cache;
  const auto found =
      std::find_if(cache.begin(), cache.end(), [number](const NLSMsg& m) { return m.number == number; });
  if (found == cache.end()) return nullptr;
  TRACE(TR_NLS, "Found message: %u in cache.\n", number);
  cache.splice(cache.begin(), cache, found);
  return &cache.front();
}

const NLSMsg* nlsObject_t::readMessage(CachedCatalog& catalog, uint32_t number) {
  const char* entry = catalog.file.entry(number);
  if (entry == nullptr) {
    TRACE(TR_MIN, "ZNS9999E %s(%u): Message No %u could not be found.\n", "Catalog.cpp",
          static_cast<unsigned>(__LINE__), number);
    return nullptr;
  }
  bool corrupt = false;
  std::optional<NLSMsg> message = parseCatalogEntry(number, entry, corrupt);
  if (corrupt) {
    TRACE(TR_MIN, "ZNS9999E %s(%u): Message No %u is corrupted.\n", "Catalog.cpp",
          static_cast<unsigned>(__LINE__), number);
  }
  if (!message) return nullptr;

  std::list<NLSMsg>& cache = catalog.cache;
  if (cache.size() >= MAX_CACHED_MESSAGES) {
    TRACE(TR_NLS, "Deleting message: %u from the cache.\n", static_cast<unsigned>(cache.back().number));
    cache.pop_back();
  }
  TRACE(TR_NLS, "Adding message: %u to the cache.\n", number);
  cache.push_front(std::move(*message));
  return &cache.front();
}

}  // namespace agent
