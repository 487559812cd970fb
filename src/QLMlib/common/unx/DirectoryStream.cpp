#include "QLMlib/common/unx/DirectoryStream.h"

#include <cerrno>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {

DirectoryStream::DirectoryStream(const std::string& path) : directory_(sys.opendir(path.c_str())) {}

DirectoryStream::~DirectoryStream() {
  if (directory_ != nullptr) sys.closedir(directory_);  // never again, as with close(2)
}

const dirent* DirectoryStream::next() {
  errno = 0;
  return directory_ == nullptr ? nullptr : sys.readdir(directory_);
}

}  // namespace agent
