#include "QLMlib/common/ut/LogFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "QLMlib/common/unx/DirectoryPath.h"

namespace agent {
namespace {

constexpr std::size_t pathLimit = 1024;
constexpr int writeFailed = 621;
constexpr int closeFailed = 10;

}  // namespace

LogFile::LogFile(LogFileSettings settings) : settings_(std::move(settings)) {}

int LogFile::open() {
  const std::string& path = settings_.path;
  if (path.empty() || path.size() >= pathLimit) {
    lastErrno_ = path.empty() ? ENOENT : ENAMETOOLONG;
    return -1;
  }
  const std::size_t slash = path.rfind('/');
  if (::access(path.c_str(), F_OK) == -1 && slash != std::string::npos && slash > 0 &&
      makeDirectoryPath(path.substr(0, slash)) != 0) {
    lastErrno_ = EACCES;
    return -1;
  }
  descriptor_ = openFile(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (!descriptor_) {
    lastErrno_ = errno;
    return -1;
  }
  return 0;
}

int LogFile::write(std::string_view text) {
  lastErrno_ = descriptor_ ? writeAll(descriptor_.get(), text) : EBADF;
  return lastErrno_ == 0 ? 0 : writeFailed;
}

int LogFile::close() {
  const int failure = descriptor_.close();
  if (failure == 0) return 0;
  lastErrno_ = failure;
  return closeFailed;
}

}  // namespace agent
