#include "Common/LogManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include "Common/SafeText.h"
#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/ut/LogFile.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

LogManager* naLog = nullptr;

namespace {

constexpr int NOTHING_TO_LOG = 11;
constexpr int NOT_OPENED = 9;
constexpr size_t LONGEST_INSERT = 4604;
constexpr const char* EMPTY_INSERT = "<NULL>";

/// A text as a line of the log shows it, cut in front of the character or escape that would make it longer
/// than `limit`: a line feed becomes a blank unless the job made a list of it, what a terminal would act upon
/// and what is no UTF-8 becomes "\\xNN". A backslash stays as it is: the log is searched for names.
std::string shownText(std::string_view text, bool keepLineFeeds, size_t limit) {
  std::string shown;
  shown.reserve(std::min(text.size(), limit));
  while (!text.empty()) {
    const size_t before = shown.size();
    if (text.front() == '\n') {
      shown += keepLineFeeds ? '\n' : ' ';
      text.remove_prefix(1);
    } else {
      appendSafe(shown, text, Backslash::KEPT);
    }
    if (shown.size() > limit) {
      shown.resize(before);
      break;
    }
  }
  return shown;
}

/// Text inserts as messages take them: never empty, never endless.
void shapeTextInserts(MessageInserts& inserts, bool keepLineFeeds) {
  for (MessageInsert& insert : inserts) {
    auto* text = std::get_if<std::string>(&insert);
    if (text == nullptr) continue;
    if (text->empty()) *text = EMPTY_INSERT;
    *text = shownText(*text, keepLineFeeds, LONGEST_INSERT);
  }
}

/// The message's text as the log shows it: its head is the identifier that the caller knows it by, unless it
/// is one of the plain texts (T).
std::string textOfMessage(const Message& message, const MessageInserts& inserts) {
  std::string text = formatMessage(message, inserts);
  if (!text.empty() && !message.identifier.empty() && message.identifier.back() != 'T') {
    text.replace(0, message.identifier.size(), message.identifier);
  }
  return text;
}

/// Any descriptor will do: it is there to be given up.
OwnedDescriptor spareDescriptor() {
  return openFile("/dev/null", O_RDONLY);
}

void printLine(std::string text) {
  if (text.empty()) return;
  if (text.back() != '\n') text += '\n';
  tellStarter(STDOUT_FILENO, text);
}

}  // namespace

LogManager::LogManager(std::string logName) : m_LogName(std::move(logName)), spare_(spareDescriptor()) {}

int LogManager::LogActivityLog(std::string_view msgBuf, bool keepLineFeeds) {
  TRACE(TR_ENTER, "Enter %s, msgBuf : %.*s\n", "LogActivityLog", static_cast<int>(msgBuf.size()),
        msgBuf.data());
  const MutexLock lock(mutex_);
  if (m_LogName.empty() || msgBuf.empty()) {
    TRACE(TR_EXIT, "Exit %s, m_LogName not defined.\n", "LogActivityLog");
    return NOTHING_TO_LOG;
  }
  LogFileSettings settings;
  settings.path = m_LogName;
  LogFile file(settings);
  int opened = file.open();
  if (opened != 0 && (file.lastErrno() == EMFILE || file.lastErrno() == ENFILE)) {
    spare_.close();
    opened = file.open();
  }
  if (opened != 0) {
    TRACE(TR_EXIT, "Exit: %s, could not open %s.\n", "LogActivityLog", m_LogName.c_str());
    return NOT_OPENED;
  }
  std::timespec now;
  std::timespec_get(&now, TIME_UTC);  // under the lock, so that the lines of a log stand in order of time
  std::string line = timeStampText(now);
  line += ' ';
  const size_t textStart = line.size();
  line += msgBuf;
  if (line.back() == '\n') line.pop_back();
  if (!keepLineFeeds) std::replace(line.begin() + static_cast<ptrdiff_t>(textStart), line.end(), '\n', ' ');
  line += '\n';
  const int result = file.write(line);
  file.close();
  if (!spare_) spare_ = spareDescriptor();
  return result;
}

void LogManager::setLogName(std::string logName) {
  const MutexLock lock(mutex_);
  TRACE(TR_MAX, "Changing log from %s to %s\n", m_LogName.c_str(), logName.c_str());
  m_LogName = std::move(logName);
}

int LogManager::logMessage(const Message& message, MessageInserts inserts) {
  shapeTextInserts(inserts, false);
  return LogActivityLog(textOfMessage(message, inserts));
}

void LogManager::logList(const Message& message, std::string list) {
  MessageInserts inserts{std::move(list)};
  shapeTextInserts(inserts, true);
  LogActivityLog(textOfMessage(message, inserts));
}

void LogManager::logAndPrintMessage(const Message& message, MessageInserts inserts) {
  shapeTextInserts(inserts, false);
  std::string text = textOfMessage(message, inserts);
  LogActivityLog(text);
  printLine(std::move(text));
}

void LogManager::printMessage(const Message& message, MessageInserts inserts) {
  shapeTextInserts(inserts, false);
  printLine(textOfMessage(message, inserts));
}

void logJobMessage(const Message& message, MessageInserts inserts) {
  if (naLog != nullptr) naLog->logMessage(message, std::move(inserts));
}

}  // namespace agent
