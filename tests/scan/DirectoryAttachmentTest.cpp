#include "Scan/DirectoryAttachment.h"

#include <gtest/gtest.h>

#include "Probe/Filesystem.h"

namespace agent::test {

TEST(DirectoryAttachmentTest, ADirectoryIsFoundByComputerAndPath) {
  Filesystem filesystems[2];
  ScanPlan plan;
  for (const auto& [index, point] : {std::pair(0, "/m"), {1, "/m/deep"}}) {
    filesystems[index].fsComputerID = 17;
    filesystems[index].fsMountPoint = point;
    plan.fsRefs.push_back(std::make_unique<FSRef>());
    plan.fsRefs.back()->filesystem = &filesystems[index];
  }
  // The path, its computer, and its levels on each file system, "-" where it lies elsewhere.
  for (const auto& [path, computer, found] : {std::tuple("/m/a", 0, "1-"),
                                              {"/m/deep/a", 17, "21"},
                                              {"/m/deep/a", 18, "--"},
                                              {"/m", 0, "0-"},
                                              {"/m/deep/", 0, "10"},
                                              {"\\m\\\\x", 0, "1-"},
                                              {"/*", 0, "0-"},
                                              {"/&*", 0, "--"},
                                              {"/?", 0, "0-"},
                                              {"/[m]", 0, "0-"},
                                              {"m", 0, "--"},
                                              {"", 0, "--"},
                                              {"/other/a", 0, "--"},
                                              {"/mm/a", 0, "--"},
                                              {"/m/d*/a", 0, "2-"},
                                              {"/", 0, "--"}}) {
    MonDirSpecList directories;
    directories.push_back(std::make_unique<MonDirSpec>());
    directories.back()->setMdsPath(path);
    directories.back()->setMdsComputerID(computer);
    Selection selection;
    prepareDirectories(directories);
    attachDirectories(directories, selection, plan);
    std::string levels;
    for (const auto& fsRef : plan.fsRefs) {
      levels += fsRef->selections.empty() ? "-" : std::to_string(fsRef->selections.front()->level);
      fsRef->selections.clear();
    }
    EXPECT_EQ(levels, found) << path;
    plan.directoryRoots.clear();
  }
}

}  // namespace agent::test
