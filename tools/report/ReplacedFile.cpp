#include "report/ReplacedFile.h"

#include <cerrno>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

#include "Common/unix/psmsgutil.h"
#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"

namespace agent::tools {

namespace {

[[noreturn]] void fail(const std::string& what, int error) {
  throw std::runtime_error(what + ": " + getSystemErrorMessage(error));
}

/// What a new file of this process may be read and written by.
mode_t usualMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

NewFile::NewFile(const std::string& path) : path_(path) {
  struct stat status = {};
  // Root who names /dev/null would otherwise put a file in its place, for everybody.
  if (sys.lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw std::runtime_error("it is no regular file");
  }
  const size_t name = path.rfind('/') + 1;  // npos + 1 is 0
  name_ = path.substr(0, name) + "." + path.substr(name) + ".XXXXXX";
  descriptor_ = OwnedDescriptor(sys.mkostemp(name_.data(), O_CLOEXEC));
  if (!descriptor_) {
    const int error = errno;
    name_.clear();
    fail("no file can be made beside it", error);
  }
}

NewFile::~NewFile() {
  if (!name_.empty()) sys.unlink(name_.c_str());
}

void NewFile::write(const std::string& content) {
  if (const int error = writeAll(descriptor_.get(), content)) fail("it can't be written", error);
}

void NewFile::rename(Readers readers) {
  const mode_t mode = readers == Readers::EVERYBODY ? 0644 : usualMode();
  if (sys.fchmod(descriptor_.get(), mode) != 0) fail("it can't be made readable", errno);
  if (const int error = descriptor_.close()) fail("it can't be written", error);
  if (sys.rename(name_.c_str(), path_.c_str()) != 0) fail("what is written can't be given its name", errno);
  name_.clear();
}

void replaceFile(const std::string& path, const std::string& content, Readers readers) {
  NewFile file(path);
  file.write(content);
  file.rename(readers);
}

}  // namespace agent::tools
