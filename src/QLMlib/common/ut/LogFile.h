#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/ut/LogRing.h"

namespace agent {

/// How one log file is kept. The defaults are a plain file that grows and is never wrapped or pruned.
struct LogFileSettings {
  std::string path{};              // fewer than 1,024 bytes
  uint32_t wrapSize = 0;           // bytes at which the file wraps over itself; 0: it never wraps
  uint32_t retentionDays = 10000;  // lines older than this are pruned at open; 10000: never
  char pruneMode = 'D';            // 'D' deletes pruned lines, 'S' appends them to saveFile
  std::string saveFile{};          // name, in the log's directory
};

/// The setting of retentionDays that keeps lines for ever.
inline constexpr uint32_t KEEP_FOR_EVER = 10000;

/// One log file of the runtime library.
///
/// Order of calls: open, any number of writes, close; then again from open. The owner serialises the calls;
/// different objects may be used from different threads.
class LogFile {
 public:
  explicit LogFile(LogFileSettings settings);

  /// Creates missing directories and the file, prunes (a file that doesn't wrap), and opens for writing.
  /// Directories that can't be created issue message 264 and give EACCES.
  /// @return 0, or -1 with the reason in lastErrno
  int open();

  /// Writes `text` as it stands: a line with its line feed, or several. In a plain file it goes out in one
  /// write(2) at the file's end, so that lines of other processes stay whole.
  /// @return 0, or 621 with the reason in lastErrno
  int write(std::string_view text);

  /// @return 0, or 10 if the system reports that what was written may be lost
  int close();

  bool isOpen() const { return static_cast<bool>(descriptor_) || ring_.isOpen(); }

  /// errno of the last failure.
  int lastErrno() const { return lastErrno_; }

  const LogFileSettings& settings() const { return settings_; }

 private:
  int createDirectories();

  LogFileSettings settings_;
  OwnedDescriptor descriptor_;  // of a plain file
  LogRing ring_;                // of one that wraps
  int lastErrno_ = 0;
};

/// The library's own logs; null until a program sets one up. This job sets up none.
extern LogFile* errorLogFile;
extern LogFile* schedLogFile;
extern LogFile* auditLogFile;

}  // namespace agent
