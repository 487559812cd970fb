#pragma once

#include <string>
#include <string_view>

#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/thrd/Mutex.h"
#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

/// Stands in front of each line of a list in a log text, below the text of the first: as wide as date and
/// time.
inline const std::string LIST_INDENT(25, ' ');

/// The job's log: opens the file for each line and closes it after, so that it may be moved away at any time.
/// May be called from any thread; a whole line is written under one lock and in one write. A descriptor is
/// held back for the log, so that a job without any can still say so.
class LogManager {
 public:
  /// @param logName path of the log file; empty means no log
  explicit LogManager(std::string logName);

  /// Writes one line: date, time with milliseconds, text. A line feed inside the text becomes a blank unless
  /// the job built the list itself (see `keepLineFeeds`).
  /// @return 0 written, 11 no log name or empty text, 9 the file couldn't be opened, 621 a write failed
  int LogActivityLog(std::string_view msgBuf, bool keepLineFeeds = true);

  /// Replaces the log's path.
  void setLogName(std::string logName);

  /// Logs a message. In text inserts line feeds become blanks, and what a terminal would act upon or
  /// is no UTF-8 becomes "\\xNN"; what is written of each is cut to 4604 bytes, between characters. An empty
  /// one shows as "<NULL>". A message that no catalog holds logs nothing.
  /// @return as LogActivityLog
  int logMessage(const Message& message, MessageInserts inserts = {});

  /// The same with a text of several lines as its only insert, which keeps its line feeds.
  void logList(const Message& message, std::string list);

  /// The same as logMessage; the text and a line end go to standard output as well.
  void logAndPrintMessage(const Message& message, MessageInserts inserts = {});

  /// Prints the message's text and a line end on standard output only.
  static void printMessage(const Message& message, MessageInserts inserts = {});

 private:
  std::string m_LogName;
  MutexHandle mutex_ = pkCreateMutex();
  OwnedDescriptor spare_;  // for the line that finds no other; guarded by mutex_
};

/// The job's log; null until the command line is known. Whoever logs from a lower room uses logJobMessage.
extern LogManager* naLog;

/// Logs through naLog when there is one.
void logJobMessage(const Message& message, MessageInserts inserts = {});

}  // namespace agent
