#include "QLMlib/common/ut/LogPruner.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/nls/LibraryMessages.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr char TEMPORARY_NAME[] = "zemprune.log";
constexpr size_t DATE_COLUMNS = 10;
constexpr long SHORTEST_SAVE_FILE = 8;
constexpr double SECONDS_PER_DAY = 86400;

struct StreamCloser {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

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
    log_.reset(std::fopen(settings_.path.c_str(), "re"));
    if (!log_) {
      const int reason = errno;
      TRACE(TR_MIN, "Couldn't open <%s> for pruning. errno = %d, %s\n", settings_.path.c_str(), reason,
            std::strerror(reason));
      issue(messages::LOG_NOT_OPENED, settings_.path, reason);
      return false;
    }
    return openTemporary() && openSaveFile();
  }

  bool openTemporary() {
    // Two programs that prune logs of one directory must not share the file: the second leaves its log alone.
    const std::string path = directory_ + TEMPORARY_NAME;
    temporary_.reset(std::fopen(path.c_str(), "ae"));
    if (temporary_ && ::flock(::fileno(temporary_.get()), LOCK_EX | LOCK_NB) == 0 && stillBears(path) &&
        ::ftruncate(::fileno(temporary_.get()), 0) == 0) {
      return true;
    }
    const int reason = errno;
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
    if (::fstat(::fileno(temporary_.get()), &locked) == -1 || ::stat(path.c_str(), &named) == -1)
      return false;
    errno = EWOULDBLOCK;
    return locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
  }

  bool openSaveFile() {
    if (settings_.pruneMode != 'S' || settings_.saveFile.empty()) return true;
    const std::string path = directory_ + settings_.saveFile;
    save_.reset(std::fopen(path.c_str(), "ae"));
    if (save_) return true;
    const int reason = errno;
    TRACE(TR_MIN, "Couldn't open save file <%s> to save pruned log entries.\nerrno = %d, %s\n", path.c_str(),
          reason, std::strerror(reason));
    issue(messages::LOG_NOT_PRUNED, path, reason);
    removeTemporary();
    return false;
  }

  /// Copies what stays to the temporary file and what goes to the save file.
  bool copyLines() {
    const std::time_t now = std::time(nullptr);
    char* buffer = nullptr;
    size_t capacity = 0;
    bool keeping = false;
    bool written = true;
    for (ssize_t length; written && (length = ::getline(&buffer, &capacity, log_.get())) != -1;) {
      ++processed_;
      const std::string_view line(buffer, static_cast<size_t>(length));
      double days = 0;
      keeping = keeping || (lineAge(line, now, days) && days < settings_.retentionDays);
      if (!keeping) ++pruned_;
      std::FILE* target = keeping ? temporary_.get() : save_.get();
      written = target == nullptr || std::fwrite(line.data(), 1, line.size(), target) == line.size();
    }
    std::free(buffer);
    if (written && std::ferror(log_.get()) == 0 && std::fflush(temporary_.get()) == 0 &&
        (!save_ || std::fflush(save_.get()) == 0)) {
      return true;
    }
    const int reason = errno;
    TRACE(TR_MIN, "error writing to temp pruning file.\nerrno = %d, %s\n", reason, std::strerror(reason));
    issue(messages::LOG_NOT_PRUNED, directory_ + TEMPORARY_NAME, reason);
    removeTemporary();
    return false;
  }

  /// Renaming replaces the log at one stroke: a full disk or a kill can't leave half of it.
  void putBack() {
    if (pruned_ == 0) return removeTemporary();
    struct stat status;
    const std::string path = directory_ + TEMPORARY_NAME;
    if (::fstat(::fileno(log_.get()), &status) == 0 &&
        ::fchmod(::fileno(temporary_.get()), status.st_mode & 07777) == 0 &&
        std::rename(path.c_str(), settings_.path.c_str()) == 0) {
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
    if (::unlink(path.c_str()) == 0) return;
    TRACE(TR_MIN, "Couldn't remove temporary pruning file %s. rc = %d\n", path.c_str(), errno);
    issue(messages::LOG_NOT_PRUNED, path, errno);
  }

  void closeSaveFile() {
    if (!save_) return;
    save_.reset();
    const std::string path = directory_ + settings_.saveFile;
    struct stat status;
    if (::stat(path.c_str(), &status) == 0 && status.st_size < SHORTEST_SAVE_FILE &&
        ::unlink(path.c_str()) == 0) {
      TRACE(TR_GENERAL, "Empty prune log deleted from directory\n");
    }
  }

  const LogFileSettings& settings_;
  const std::string directory_;  // with its slash, or empty
  Stream log_;
  Stream temporary_;
  Stream save_;
  unsigned long processed_ = 0;
  unsigned long pruned_ = 0;
};

}  // namespace

void pruneLog(const LogFileSettings& settings) {
  Pruner(settings).run();
}

}  // namespace agent
