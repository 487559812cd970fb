#include "system/MountedFileSystem.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "system/Process.h"

namespace agent::test {

namespace {

std::string noNamespace = "the tests have no mount namespace of their own";

void mapToRoot(uid_t user, gid_t group) {
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
}

/// The mounts of these tests stand in the kernel's table. Where this host keeps one of its own under the name
/// that jobs read, it is covered.
void coverMountTable() {
  const std::string name = "/etc/mtab";
  std::error_code missing;
  const std::string table = std::filesystem::canonical(name, missing).string();
  if (missing || table.starts_with("/proc/")) return;
  if (mount("/proc/self/mounts", table.c_str(), nullptr, MS_BIND, nullptr) == 0) return;
  noNamespace = "the mount table \"" + name + "\" is no link to the kernel's: " + strerror(errno);
}

}  // namespace

void enterPrivateMountNamespace() {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
    noNamespace = std::string("no mount namespace: ") + strerror(errno);
    return;
  }
  if (user != 0) mapToRoot(user, group);
  noNamespace = mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
                    ? ""
                    : std::string("mounts would leak into the host: ") + strerror(errno);
  if (noNamespace.empty()) coverMountTable();
}

MountedFileSystem::MountedFileSystem(std::string mountPoint, const std::string& command)
    : mountPoint_(std::move(mountPoint)), whyNot_(noNamespace) {
  if (!whyNot_.empty()) return;
  try {
    std::filesystem::create_directories(mountPoint_);
    shell(command);
  } catch (const std::exception& refused) {
    whyNot_ = refused.what();
  }
}

MountedFileSystem::MountedFileSystem(MountedFileSystem&& other) noexcept
    : mountPoint_(std::move(other.mountPoint_)), whyNot_(std::exchange(other.whyNot_, "moved away")) {}

MountedFileSystem::~MountedFileSystem() {
  if (whyNot_.empty()) umount2(mountPoint_.c_str(), MNT_DETACH);
}

MountedFileSystem MountedFileSystem::tmpfs(const std::string& mountPoint, const std::string& options) {
  return {mountPoint, "mount -t tmpfs -o noatime" + (options.empty() ? "" : "," + options) + " scratch '" +
                          mountPoint + "'"};
}

MountedFileSystem MountedFileSystem::ext4(const std::string& mountPoint, int mebibytes,
                                          const std::string& mkfsOptions) {
  const std::string image = "'" + mountPoint + ".image'";
  return {mountPoint, "truncate -s " + std::to_string(mebibytes) + "M " + image + " && mkfs.ext4 -q " +
                          mkfsOptions + " " + image + " && mount -o loop,noatime " + image + " '" +
                          mountPoint + "'"};
}

}  // namespace agent::test
