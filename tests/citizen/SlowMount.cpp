#include "citizen/SlowMount.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Common/unix/FileDescriptor.h"
#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {

namespace {

dev_t deviceOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

}  // namespace

SlowMount::SlowMount(const std::string& scratch)
    : mountPoint_(scratch + "/slow"),
      tree_(scratch + "/shown"),
      rules_(scratch + "/rules"),
      journal_(scratch + "/requests") {
  std::filesystem::create_directories(mountPoint_);
  std::filesystem::create_directories(tree_);
#ifdef SLOW_FILESYSTEM
  if (!openFile("/dev/fuse", O_RDWR)) {
    whyNot_ = std::string("/dev/fuse can't be opened: ") + strerror(errno);
    return;
  }
  {
    // A mount that this process may make shows that it has its namespace.
    const auto probe = MountedFileSystem::tmpfs(mountPoint_);
    whyNot_ = probe.whyNot();
  }
  if (!whyNot_.empty()) return;
  const dev_t before = deviceOf(scratch);
  server_ = startChild([this] {
    return execl(SLOW_FILESYSTEM, SLOW_FILESYSTEM, mountPoint_.c_str(), tree_.c_str(), rules_.c_str(),
                 journal_.c_str(), nullptr);
  });
  if (!eventually([&] { return deviceOf(mountPoint_) != before; }))
    whyNot_ = "slow_filesystem was not mounted";
#else
  whyNot_ = "built without libfuse3: there is no slow_filesystem";
#endif
}

SlowMount::~SlowMount() {
  if (server_ <= 0) return;
  kill(server_, SIGKILL);
  waitpid(server_, nullptr, 0);
  umount2(mountPoint_.c_str(), MNT_DETACH);
}

void SlowMount::rule(const std::vector<std::string>& rules) const {
  std::ofstream file(rules_ + ".new");
  for (const std::string& rule : rules) file << rule << "\n";
  file.close();
  std::filesystem::rename(rules_ + ".new", rules_);
}

std::vector<std::string> SlowMount::requests() const {
  return linesOf(content(journal_));
}

void SlowMount::forgetRequests() const {
  std::filesystem::remove(journal_);
}

bool SlowMount::sees(const std::string& request) const {
  return eventually([&] {
    const auto seen = requests();
    return std::find(seen.begin(), seen.end(), request) != seen.end();
  });
}

}  // namespace agent::test
