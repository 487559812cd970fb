#include "Scan/DirectoryAttachment.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "Probe/Filesystem.h"
#include "Scan/StatisticAttachment.h"

namespace agent::test {
namespace {

/// A plan of two file systems, 1 at "/m" and 2 at "/m/deep", both of computer 17.
class AttachmentTest : public ::testing::Test {
 protected:
  AttachmentTest() {
    for (const char* point : {"/m", "/m/deep"}) {
      auto filesystem = std::make_unique<Filesystem>();
      filesystem->fsID = static_cast<int32_t>(filesystems_.size()) + 1;
      filesystem->fsComputerID = 17;
      filesystem->fsMountPoint = point;
      auto fsRef = std::make_unique<FSRef>();
      fsRef->filesystem = filesystem.get();
      plan_.fsRefsById.try_emplace(filesystem->fsID, fsRef.get());
      plan_.fsRefs.push_back(std::move(fsRef));
      filesystems_.push_back(std::move(filesystem));
    }
  }

  CuStatDef& statistic(int16_t type, const char* clause) {
    statistics_.push_back(std::make_unique<CuStatDef>());
    statistics_.back()->sdType = type;
    statistics_.back()->setWhereClause(clause);
    return *statistics_.back();
  }

  /// The statistics that collect on a file system, as indices.
  std::string statisticsOf(size_t filesystem) const {
    std::string indices;
    for (const Assoc& assoc : plan_.fsRefs[filesystem]->assocs) {
      for (size_t i = 0; i < statistics_.size(); ++i) {
        if (assoc.tree->definition == statistics_[i].get()) indices += std::to_string(i);
      }
    }
    return indices;
  }

  FilesystemList filesystems_;
  StatisticList statistics_;
  Selection selection_;
  ScanPlan plan_;
};

TEST_F(AttachmentTest, AStatisticIsTiedToTheFileSystemsThatItConcerns) {
  constexpr int16_t ANY = 1;
  CuStatDef& own = statistic(CuStatDef::FILESYSTEM_STATISTIC, "");
  statistic(CuStatDef::DIRECTORY_STATISTIC, "");
  CuStatDef& restricted = statistic(CuStatDef::RESTRICTED_STATISTIC, "");
  restricted.sdResults.append(std::make_unique<ResultsByFS>(filesystems_[1].get()));
  CuStatDef& elsewhere = statistic(CuStatDef::RESTRICTED_STATISTIC, "");
  Filesystem unknown;
  unknown.fsID = 9;
  elsewhere.sdResults.append(std::make_unique<ResultsByFS>(&unknown));
  CuStatDef& broken = statistic(ANY, "(");
  broken.sdGroupByBackup = true;

  attachStatistics(statistics_, selection_, plan_);

  EXPECT_EQ(statisticsOf(0), "0");
  EXPECT_EQ(statisticsOf(1), "02");
  EXPECT_EQ(plan_.fsRefs[0]->ownResults, own.sdResults.concerning(1).front());
  EXPECT_THAT(plan_.withoutFilesystem, ::testing::ElementsAre(&elsewhere));
  EXPECT_TRUE(plan_.givenUp);
  EXPECT_FALSE(broken.sdGroupByBackup);
}

TEST_F(AttachmentTest, ADirectoryIsFoundByComputerAndPath) {
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
    prepareDirectories(directories);
    attachDirectories(directories, selection_, plan_);
    std::string levels;
    for (const auto& fsRef : plan_.fsRefs) {
      levels += fsRef->selections.empty() ? "-" : std::to_string(fsRef->selections.front()->level);
      fsRef->selections.clear();
    }
    EXPECT_EQ(levels, c.levels) << c.path;
    plan_.directoryRoots.clear();
  }
}

}  // namespace
}  // namespace agent::test
