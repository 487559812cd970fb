#pragma once

#include <string>
#include <vector>

namespace agent::test {

/// The mount table and the host names that programs find while it lives: /etc under a layer of its own, in
/// the tests' mount namespace. From then on this process has a network of its own too, in which nobody
/// answers, so that no name is asked for outside.
///
/// Where this host doesn't allow for it: if (!etc) GTEST_SKIP() << etc.whyNot();
class PrivateEtc {
 public:
  /// @param scratch an existing directory for the layer
  explicit PrivateEtc(const std::string& scratch);
  PrivateEtc(const PrivateEtc&) = delete;
  ~PrivateEtc();

  explicit operator bool() const { return whyNot_.empty(); }
  const std::string& whyNot() const { return whyNot_; }

  /// Replaces the mount table: "source mountpoint type" each; fstab(5) tells how blanks are written.
  void mounts(const std::vector<std::string>& entries) const;
  /// Replaces the host table: "address name" each.
  void hosts(const std::vector<std::string>& entries) const;

 private:
  std::string whyNot_;
};

}  // namespace agent::test
