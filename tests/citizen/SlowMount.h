#pragma once

#include <sys/types.h>

#include <vector>

#include "support/Waiting.h"

namespace agent::test {

/// A mounted slow_filesystem (see SlowFileSystem.cpp) that shows a directory of the test. It stands for a
/// busy or a dead server. Its process is killed and its mount gone with the object, and at the latest with
/// the test's process; whatever hangs in it comes back then.
///
/// Where this host doesn't allow for it: if (!slow) GTEST_SKIP() << slow.whyNot();
class SlowMount {
 public:
  /// @param scratch an existing directory for the mount point, the tree that is shown and the control files
  explicit SlowMount(const std::string& scratch);
  SlowMount(const SlowMount&) = delete;
  ~SlowMount();

  explicit operator bool() const { return whyNot_.empty(); }
  const std::string& whyNot() const { return whyNot_; }
  const std::string& path() const { return mountPoint_; }
  /// The directory that is shown. To be filled without going through the mount.
  const std::string& tree() const { return tree_; }

  /// Replaces the rules: "getattr */late* 500", "readdir /d hang". They hold from the next request on.
  void rule(const std::vector<std::string>& rules) const;
  /// The requests that a rule fitted, in order: "readdir /d".
  std::vector<std::string> requests() const;
  void forgetRequests() const;
  /// Waits until such a request has come. @return false after ten seconds
  bool sees(const std::string& request) const;

 private:
  std::string mountPoint_;
  std::string tree_;
  std::string rules_;
  std::string journal_;
  std::string whyNot_;
  pid_t server_ = -1;
};

}  // namespace agent::test
