#include "QLMlib/common/ut/LogFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "QLMlib/common/nls/LibraryMessages.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/unx/DirectoryPath.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/LogPruner.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr size_t PATH_LIMIT = 1024;
constexpr int WRITE_FAILED = 621;
constexpr int CLOSE_FAILED = 10;

}  // namespace

LogFile* errorLogFile = nullptr;
LogFile* schedLogFile = nullptr;
LogFile* auditLogFile = nullptr;

LogFile::LogFile(LogFileSettings settings) : settings_(std::move(settings)) {}

int LogFile::open() {
  const std::string& path = settings_.path;
  if (path.empty() || path.size() >= PATH_LIMIT) {
    lastErrno_ = path.empty() ? ENOENT : ENAMETOOLONG;
    return -1;
  }
  close();
  const bool exists = sys.access(path.c_str(), F_OK) == 0;
  if (!exists && createDirectories() != 0) return -1;

  if (settings_.wrapSize != 0) {
    lastErrno_ = ring_.open(path, settings_.wrapSize);
    if (lastErrno_ != 0) ring_.close();
  } else {
    if (exists && settings_.retentionDays != KEEP_FOR_EVER) pruneLog(settings_);
    // A name that is a pipe must not hang the job: opening one that nobody reads fails.
    descriptor_ = openFile(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK, 0666);
    lastErrno_ = descriptor_ ? 0 : errno;
  }
  return lastErrno_ == 0 ? 0 : -1;
}

int LogFile::createDirectories() {
  const std::string& path = settings_.path;
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return 0;
  const int reason = makeDirectoryPath(path.substr(0, slash));
  if (reason == 0) return 0;
  const std::string text =
      formatMessage(messages::LOG_NOT_OPENED, {path, std::string(std::strerror(reason))});
  TRACE(TR_MIN, "%s\n", text.c_str());
  lastErrno_ = EACCES;
  return -1;
}

int LogFile::write(std::string_view text) {
  if (ring_.isOpen()) {
    lastErrno_ = ring_.write(text);
  } else {
    lastErrno_ = descriptor_ ? writeAll(descriptor_.get(), text) : EBADF;
  }
  return lastErrno_ == 0 ? 0 : WRITE_FAILED;
}

int LogFile::close() {
  const int ringFailure = ring_.close();
  const int failure = descriptor_.close();
  if (failure == 0 && ringFailure == 0) return 0;
  lastErrno_ = failure != 0 ? failure : ringFailure;
  return CLOSE_FAILED;
}

}  // namespace agent
