#pragma once

#include <gtest/gtest.h>

#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {

/// Tests that scan a tmpfs of their own, with two files in it.
class SystemTest : public ::testing::Test {
 protected:
  SystemTest() : mounted_(MountedFileSystem::tmpfs(tree_.room("data"))) {}

  void SetUp() override {
    if (!mounted_) GTEST_SKIP() << mounted_.whyNot();
    std::ofstream(data() + "/one.txt") << "1";
    std::ofstream(data() + "/two.txt") << "2";
  }

  /// A job that counts the two files.
  void define() const { tree_.define(summaryOf({data()}).text()); }

  const std::string& data() const { return mounted_.path(); }
  /// Its path as logs and results have it.
  std::string logicalData() const { return data() + "/"; }

  InstallTree tree_;

 private:
  MountedFileSystem mounted_;
};

}  // namespace agent::test
