#include "QLMlib/common/ut/LogPruner.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/nls/LibraryMessages.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/unx/LineReader.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr char TEMPORARY_NAME[] = "zemprune.log";
constexpr size_t DATE_COLUMNS = 10;
constexpr long SHORTEST_SAVE_FILE = 8;
constexpr double SECONDS_PER_DAY = 86400;

constexpr size_t PIECE_BYTES = 65536;

/// A file that lines are added to, in pieces.
class LineAppender {
 public:
  int open(const std::string& path) {
    file_ = openFile(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK, 0666);
    return file_ ? 0 : errno;
  }
  void close() { file_.close(); }
  int descriptor() const { return file_.get(); }
  explicit operator bool() const { return static_cast<bool>(file_); }

  /// @return 0 or errno
  int add(std::string_view text) {
    pending_ += text;
    return pending_.size() < PIECE_BYTES ? 0 : flush();
  }
  int flush() {
    const int failure = writeAll(file_.get(), pending_);
    pending_.clear();
    return failure;
  }

 private:
  OwnedDescriptor file_;
  std::string pending_;
};

void issue(const Message& message, const std::string& subject, int reason) {
  const std::string text = formatMessage(message, {subject, std::string(std::strerror(reason))});
  TRACE(TR_MIN, "%s\n", text.c_str());
}

/// Age of a line in days; false for a line without a date.
bool lineAge(std::string_view line, std::time_t now, double& days) {
  if (line.size() < DATE_COLUMNS) return false;
  const std::string date(line.substr(0, DATE_COLUMNS));
  std::tm time{};
  time.tm_isdst = -1;
  if (::strptime(date.c_str(), date_fmt_str.c_str(), &time) == nullptr) return false;
  const std::time_t written = std::mktime(&time);
  if (written == -1) return false;
  days = std::difftime(now, written) / SECONDS_PER_DAY;
  return true;
}

class Pruner {
 public:
  explicit Pruner(const LogFileSettings& settings)
      : settings_(settings), directory_(settings.path.substr(0, settings.path.rfind('/') + 1)) {}

  void run() {
    TRACE(TR_GENERAL, "Log Pruner started.\nLog Retention Days = %u.\n", settings_.retentionDays);
    if (openFiles() && copyLines()) putBack();
    closeSaveFile();
    TRACE(TR_GENERAL, "Log Pruner: %lu lines processed. %lu lines pruned.\nLog Pruner finished.\n",
          processed_, pruned_);
  }

 private:
  bool openFiles() {
    OwnedDescriptor log = openFile(settings_.path.c_str(), O_RDONLY | O_NONBLOCK);
    if (!log || sys.fstat(log.get(), &logStatus_) == -1) {
      const int reason = errno;
      TRACE(TR_MIN, "Couldn't open <%s> for pruning. errno = %d, %s\n", settings_.path.c_str(), reason,
            std::strerror(reason));
      issue(messages::LOG_NOT_OPENED, settings_.path, reason);
      return false;
    }
    log_.emplace(std::move(log));
    return openTemporary() && openSaveFile();
  }

  bool openTemporary() {
    // Two programs that prune logs of one directory must not share the file: the second leaves its log alone.
    const std::string path = directory_ + TEMPORARY_NAME;
    int reason = temporary_.open(path);
    if (reason == 0) {
      if (sys.flock(temporary_.descriptor(), LOCK_EX | LOCK_NB) == 0 && stillBears(path) &&
          sys.ftruncate(temporary_.descriptor(), 0) == 0) {
        return true;
      }
      reason = errno;
    }
    TRACE(TR_MIN, "Couldn't open temp file <%s> for pruning.\nerrno = %d, %s\n", path.c_str(), reason,
          std::strerror(reason));
    issue(messages::LOG_NOT_PRUNED, path, reason);
    return false;
  }

  /// False where another program has put the locked file in its log's place meanwhile: it is no temporary
  /// file any more, and to empty it would be to lose that log.
  bool stillBears(const std::string& path) const {
    struct stat locked;
    struct stat named;
    if (sys.fstat(temporary_.descriptor(), &locked) == -1 || sys.stat(path.c_str(), &named) == -1) {
      return false;
    }
    errno = EWOULDBLOCK;
    return locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
  }

  bool openSaveFile() {
    if (settings_.pruneMode != 'S' || settings_.saveFile.empty()) return true;
    const std::string path = directory_ + settings_.saveFile;
    const int reason = save_.open(path);
    if (reason == 0) return true;
    TRACE(TR_MIN, "Couldn't open save file <%s> to save pruned log entries.\nerrno = %d, %s\n", path.c_str(),
          reason, std::strerror(reason));
    issue(messages::LOG_NOT_PRUNED, path, reason);
    removeTemporary();
    return false;
  }

  /// Copies what stays to the temporary file and what goes to the save file.
  bool copyLines() {
    int reason = sortLines();
    if (reason == 0) reason = temporary_.flush();
    if (reason == 0 && save_) reason = save_.flush();
    if (reason == 0) return true;
    TRACE(TR_MIN, "error writing to temp pruning file.\nerrno = %d, %s\n", reason, std::strerror(reason));
    issue(messages::LOG_NOT_PRUNED, directory_ + TEMPORARY_NAME, reason);
    removeTemporary();
    return false;
  }

  /// @return 0 or errno
  int sortLines() {
    const std::time_t now = std::time(nullptr);
    bool keeping = false;
    int64_t end = 0;
    while (const auto line = log_->next()) {
      ++processed_;
      double days = 0;
      keeping = keeping || (lineAge(*line, now, days) && days < settings_.retentionDays);
      if (!keeping) ++pruned_;
      const int64_t start = std::exchange(end, log_->position());
      const bool endsInLineFeed = end - start > static_cast<int64_t>(line->size());
      if (!keeping && !save_) continue;
      LineAppender& target = keeping ? temporary_ : save_;
      int failure = target.add(*line);
      if (failure == 0 && endsInLineFeed) failure = target.add("\n");
      if (failure != 0) return failure;
    }
    return log_->failed() ? log_->error() : 0;
  }

  /// Renaming replaces the log at one stroke: a full disk or a kill can't leave half of it.
  void putBack() {
    if (pruned_ == 0) return removeTemporary();
    const std::string path = directory_ + TEMPORARY_NAME;
    if (sys.fchmod(temporary_.descriptor(), logStatus_.st_mode & 07777) == 0 &&
        sys.rename(path.c_str(), settings_.path.c_str()) == 0) {
      return;
    }
    const int reason = errno;
    TRACE(TR_MIN,
          "Couldn't copy from temp file back to <%s> after pruning. errno = %d, %s\noriginal log not pruned.",
          settings_.path.c_str(), reason, std::strerror(reason));
    issue(messages::LOG_NOT_RESTORED, settings_.path, reason);
    removeTemporary();
  }

  void removeTemporary() {
    const std::string path = directory_ + TEMPORARY_NAME;
    if (sys.unlink(path.c_str()) == 0) return;
    TRACE(TR_MIN, "Couldn't remove temporary pruning file %s. rc = %d\n", path.c_str(), errno);
    issue(messages::LOG_NOT_PRUNED, path, errno);
  }

  void closeSaveFile() {
    if (!save_) return;
    save_.close();
    const std::string path = directory_ + settings_.saveFile;
    struct stat status;
    if (sys.stat(path.c_str(), &status) == 0 && status.st_size < SHORTEST_SAVE_FILE &&
        sys.unlink(path.c_str()) == 0) {
      TRACE(TR_GENERAL, "Empty prune log deleted from directory\n");
    }
  }

  const LogFileSettings& settings_;
  const std::string directory_;  // with its slash, or empty
  std::optional<LineReader> log_;
  struct stat logStatus_ {};
  LineAppender temporary_;
  LineAppender save_;
  unsigned long processed_ = 0;
  unsigned long pruned_ = 0;
};

}  // namespace

void pruneLog(const LogFileSettings& settings) {
  Pruner(settings).run();
}

}  // namespace agent
