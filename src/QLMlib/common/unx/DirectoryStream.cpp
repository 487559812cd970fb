#include "QLMlib/common/unx/DirectoryStream.h"

#include <cerrno>

#include "QLMlib/common/unx/SystemCallTable.h"

namespace agent {

DirectoryStream::DirectoryStream(const std::string& path) : directory_(systemCalls.opendir(path.c_str())) {}

DirectoryStream::~DirectoryStream() {
  if (directory_ != nullptr) systemCalls.closedir(directory_);  // never again, as with close(2)
}

const dirent* DirectoryStream::next() {
  errno = 0;
  return directory_ == nullptr ? nullptr : systemCalls.readdir(directory_);
}

}  // namespace agent
