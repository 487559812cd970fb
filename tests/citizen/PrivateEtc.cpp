#include "citizen/PrivateEtc.h"

#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>

#include "system/MountedFileSystem.h"
#include "system/Process.h"

namespace agent::test {

PrivateEtc::PrivateEtc(const std::string& scratch) {
  const std::string layer = scratch + "/etc";
  // The layer lies on a tmpfs: not every file system can be the upper one of an overlay.
  const auto probe = MountedFileSystem::tmpfs(scratch + "/probe");
  whyNot_ = probe.whyNot();
  if (!whyNot_.empty()) return;
  if (unshare(CLONE_NEWNET) != 0) {
    whyNot_ = std::string("no network namespace: ") + strerror(errno);
    return;
  }
  try {
    std::filesystem::create_directories(layer);
    shell("mount -t tmpfs layer '" + layer + "' && mkdir '" + layer + "/upper' '" + layer +
          "/work' && mount -t overlay -o lowerdir=/etc,upperdir='" + layer + "/upper',workdir='" + layer +
          "/work' layer /etc");
  } catch (const std::exception& refused) {
    whyNot_ = refused.what();
    return;
  }
  umount2(layer.c_str(), MNT_DETACH);
  std::filesystem::remove("/etc/mtab");  // a link to the kernel's table
  std::ofstream("/etc/nsswitch.conf") << "passwd: files\ngroup: files\nhosts: files\n";
}

PrivateEtc::~PrivateEtc() {
  if (whyNot_.empty()) umount2("/etc", MNT_DETACH);
}

void PrivateEtc::mounts(const std::vector<std::string>& entries) const {
  std::ofstream table("/etc/mtab");
  for (const std::string& entry : entries) table << entry << " rw 0 0\n";
}

void PrivateEtc::hosts(const std::vector<std::string>& entries) const {
  std::ofstream table("/etc/hosts");
  for (const std::string& entry : entries) table << entry << "\n";
}

}  // namespace agent::test
