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

/// A file that nobody looks for, and that goes with its owner unless it has been renamed.
class HiddenFile {
 public:
  explicit HiddenFile(const std::string& beside) {
    const size_t name = beside.rfind('/') + 1;  // npos + 1 is 0
    path_ = beside.substr(0, name) + "." + beside.substr(name) + ".XXXXXX";
    descriptor_ = OwnedDescriptor(sys.mkostemp(path_.data(), O_CLOEXEC));
    if (!descriptor_) {
      const int error = errno;
      path_.clear();
      fail("no file can be made beside it", error);
    }
  }
  ~HiddenFile() {
    if (!path_.empty()) sys.unlink(path_.c_str());
  }
  HiddenFile(const HiddenFile&) = delete;
  HiddenFile& operator=(const HiddenFile&) = delete;

  void write(const std::string& content, mode_t mode) {
    if (const int error = writeAll(descriptor_.get(), content)) fail("it can't be written", error);
    if (sys.fchmod(descriptor_.get(), mode) != 0) fail("it can't be made readable", errno);
    if (const int error = descriptor_.close()) fail("it can't be written", error);
  }
  void renameTo(const std::string& path) {
    if (sys.rename(path_.c_str(), path.c_str()) != 0) fail("what is written can't be given its name", errno);
    path_.clear();
  }

 private:
  std::string path_;  // empty once there is nothing to remove
  OwnedDescriptor descriptor_;
};

}  // namespace

void replaceFile(const std::string& path, const std::string& content, Readers readers) {
  struct stat status = {};
  // Root who names /dev/null would otherwise put a file in its place, for everybody.
  if (sys.lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw std::runtime_error("it is no regular file");
  }
  HiddenFile file(path);
  file.write(content, readers == Readers::EVERYBODY ? 0644 : usualMode());
  file.renameTo(path);
}

}  // namespace agent::tools
