#include "Scan/DirectoryAttachment.h"

#include <gtest/gtest.h>

#include "Probe/Filesystem.h"

namespace agent::test {
namespace {

TEST(DirectoryAttachmentTest, ADirectoryIsFoundByComputerAndPath) {
  Filesystem filesystems[2];
  ScanPlan plan;
  for (const auto& [index, point] : {std::pair(0, "/m"), {1, "/m/deep"}}) {
    filesystems[index].fsComputerID = 17;
    filesystems[index].fsMountPoint = point;
    plan.fsRefs.push_back(std::make_unique<FSRef>());
    plan.fsRefs.back()->filesystem = &filesystems[index];
  }
  struct Case {
    const char* path;
    int32_t computer;
    const char* levels;  // on each file system, "-" where it lies elsewhere
  };
  for (const Case& c :
       {Case{"/m/a", 0, "1-"}, Case{"/m/deep/a", 17, "21"}, Case{"/m/deep/a", 18, "--"}, Case{"/m", 0, "0-"},
        Case{"/m/deep/", 0, "10"}, Case{"\\m\\\\x", 0, "1-"}, Case{"/*", 0, "0-"}, Case{"/&*", 0, "--"},
        Case{"/?", 0, "0-"}, Case{"/[m]", 0, "0-"}, Case{"m", 0, "--"}, Case{"", 0, "--"},
        Case{"/other/a", 0, "--"}, Case{"/mm/a", 0, "--"}, Case{"/m/d*/a", 0, "2-"}, Case{"/", 0, "--"}}) {
    MonDirSpecList directories;
    directories.push_back(std::make_unique<MonDirSpec>());
    directories.back()->setMdsPath(c.path);
    directories.back()->setMdsComputerID(c.computer);
    Selection selection;
    prepareDirectories(directories);
    attachDirectories(directories, selection, plan);
    std::string levels;
    for (const auto& fsRef : plan.fsRefs) {
      levels += fsRef->selections.empty() ? "-" : std::to_string(fsRef->selections.front()->level);
      fsRef->selections.clear();
    }
    EXPECT_EQ(levels, c.levels) << c.path;
    plan.directoryRoots.clear();
  }
}

}  // namespace
}  // namespace agent::test
