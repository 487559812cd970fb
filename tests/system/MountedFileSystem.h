#pragma once

#include <string>

namespace agent::test {

/// A file system that one test mounts under its scratch directory, in the mount namespace that main() made
/// for the tests alone; it is gone with the object, whatever the test did. Access times never change by
/// reading.
///
/// Where this host doesn't let it be mounted, the object tells why, and the test skips itself:
///   if (!mounted) GTEST_SKIP() << mounted.whyNot();
class MountedFileSystem {
 public:
  /// @param options further options of tmpfs, such as "size=64k"
  static MountedFileSystem tmpfs(const std::string& mountPoint, const std::string& options = {});
  /// A new ext4 file system in an image file beside the mount point, through a loop device.
  /// @param mkfsOptions further options of mkfs.ext4
  static MountedFileSystem ext4(const std::string& mountPoint, int mebibytes,
                                const std::string& mkfsOptions = {});

  MountedFileSystem(MountedFileSystem&& other) noexcept;
  MountedFileSystem& operator=(MountedFileSystem&&) = delete;
  ~MountedFileSystem();

  explicit operator bool() const { return whyNot_.empty(); }
  const std::string& whyNot() const { return whyNot_; }
  const std::string& path() const { return mountPoint_; }

 private:
  MountedFileSystem(std::string mountPoint, const std::string& command);

  std::string mountPoint_;
  std::string whyNot_;
};

/// Enters a mount namespace of its own, as root in a user namespace for other users. To be called once,
/// before any thread is started. Where it fails, every mount is refused with the reason.
void enterPrivateMountNamespace();

}  // namespace agent::test
