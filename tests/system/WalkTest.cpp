// The walk on trees that nobody keeps in order: deep, wide, changing under it, leading elsewhere.

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>

#include "Common/unix/FileDescriptor.h"
#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool SANITIZED = true;
#else
constexpr bool SANITIZED = false;
#endif

class WalkTest : public SystemTest {
 protected:
  /// Scans, and keeps the paths of all files and links below the mount point.
  Outcome scan(const std::string& mountPoint) {
    std::filesystem::remove(tree_.logFile());
    Definition definition = summaryOf({mountPoint});
    definition.records[0].set("fsType", fsType_);
    definition.records[1].set("sdLargestFiles", 30000);
    tree_.define(definition.text());
    const Outcome outcome = tree_.scan();
    const ResultFile result(tree_.resultFile());
    const Node& results = result.results(5, 1);
    files_.clear();
    for (const Node* file : results.childrenOf("SFile")) {
      files_.insert(result.text(*file, "faName").substr(mountPoint.size() + 1));
    }
    fileCount_ = result.number(only(results, "SSummary"), "sumFileCount");
    directories_ = result.number(only(results, "SSummary"), "sumDirectoryCount");
    return outcome;
  }

  /// Makes directories of one name inside each other, and a file "f" in each.
  /// @return the innermost
  FileDescriptor nest(const std::string& name, int depth) {
    FileDescriptor directory = openFile(data().c_str(), O_DIRECTORY);
    for (int i = 0; i < depth; ++i) {
      EXPECT_EQ(mkdirat(directory.get(), name.c_str(), 0755), 0);
      directory = FileDescriptor(openat(directory.get(), name.c_str(), O_DIRECTORY | O_CLOEXEC));
      plant(directory, "f");
    }
    return directory;
  }
  static void plant(const FileDescriptor& directory, const std::string& name) {
    EXPECT_TRUE(FileDescriptor(openat(directory.get(), name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644)));
  }

  int fsType_ = 23;
  std::set<std::string> files_;
  long long fileCount_ = 0, directories_ = 0;
};

TEST_F(WalkTest, NothingThatItReadsChanges) {
  const auto strict = MountedFileSystem::tmpfs(tree_.room("strict"), "strictatime");
  if (!strict) GTEST_SKIP() << strict.whyNot();
  const std::vector<std::string> names = {"a/b/g", "a/b", "a/f", "a/link", "a", ""};
  shell("cd '" + strict.path() + "' && mkdir -p a/b && touch a/f a/b/g && ln -s f a/link");
  for (const std::string& name : names) shell("touch -h -d @1000000000 '" + strict.path() + "/" + name + "'");
  const auto times = [&] {
    std::vector<time_t> all;
    for (const std::string& name : names) {
      struct stat status;
      EXPECT_EQ(lstat((strict.path() + "/" + name).c_str(), &status), 0);
      all.insert(all.end(), {status.st_atime, status.st_mtime, status.st_ctime});
    }
    return all;
  };
  const std::vector<time_t> before = times();
  for (const char* readers : {"0", "3"}) {
    ::setenv("SCAN_READ_AHEAD", readers, 1);
    EXPECT_EQ(scan(strict.path()).status, 0);
    EXPECT_EQ(times(), before) << readers;
  }
  ::unsetenv("SCAN_READ_AHEAD");
}

TEST_F(WalkTest, LinksAreNotFollowedAndMountsNotCrossed) {
  std::filesystem::create_directories(data() + "/below/it");
  const auto other = MountedFileSystem::tmpfs(data() + "/below/mounted");
  std::ofstream(other.path() + "/elsewhere") << "x";
  shell("cd '" + data() +
        "' && ln -s / root && ln -s .. below/up && ln -s loop loop && ln -s below/mounted other && "
        "touch below/it/inside");

  EXPECT_EQ(scan(data()).status, 0);

  EXPECT_THAT(files_,
              ElementsAre("below/it/inside", "below/up", "loop", "one.txt", "other", "root", "two.txt"));
  EXPECT_EQ(directories_, 3);  // the mount point is no part of this file system
  EXPECT_THAT(tree_.logLines(), Contains("AGT0144I The file system has been walked: 11 entries scanned."));
}

TEST_F(WalkTest, SnapshotDirectoriesArePassedOverAtTheTopAlone) {
  shell("cd '" + data() +
        "' && mkdir -p .snapshot/a my.snapshots/a deep/.snapshot/a && touch .snapshot/a/f my.snapshots/f "
        "deep/.snapshot/a/f a.snapshot");
  EXPECT_EQ(scan(data()).status, 0);
  EXPECT_THAT(files_, ElementsAre("a.snapshot", "deep/.snapshot/a/f", "one.txt", "two.txt"));

  // Where the mount point has the word, so have all paths.
  const auto named = MountedFileSystem::tmpfs(tree_.room("data.snapshot"));
  shell("cd '" + named.path() + "' && mkdir lost && touch lost/f kept");
  EXPECT_EQ(scan(named.path()).status, 0);
  EXPECT_THAT(files_, ElementsAre("kept"));
}

// A stand-in for the cluster file system's tool, in an overlay of /usr that this process alone has.
TEST_F(WalkTest, TheClusterFileSystemsToolIsAskedForItsSnapshotDirectory) {
  shell("cd '" + data() + "' && mkdir .copies .snapshots && touch .copies/f .snapshots/f");
  fsType_ = 21;
  EXPECT_EQ(scan(data()).status, 0);  // without the tool: ".snapshots"
  EXPECT_THAT(files_, ElementsAre(".copies/f", "one.txt", "two.txt"));

  const std::string extra = tree_.room("extra");
  const std::string tool = extra + "/mxfs/bin/mxsnapdir";
  shell("mkdir -p '" + extra + "/mxfs/bin' && printf '#!/bin/sh\\necho \"in \\047.copies\\047, $@\"\\n' >'" +
        tool + "' && chmod +x '" + tool + "'");
  if (::mount("tools", "/usr", "overlay", MS_RDONLY, ("lowerdir=/usr:" + extra).c_str()) != 0) {
    GTEST_SKIP() << "no overlay can be mounted over /usr";
  }
  const Outcome outcome = scan(data());
  ::umount2("/usr", MNT_DETACH);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(files_, ElementsAre("one.txt", "two.txt"));
}

TEST_F(WalkTest, EntriesWithPathsOfUpTo4096BytesCount) {
  constexpr size_t LIMIT = 4096;
  // As deep as names of 200 bytes go with 50 bytes to spare, then names that end at the limit and behind it.
  const size_t depth = (LIMIT - 50 - data().size()) / 201;
  const FileDescriptor directory = nest(std::string(200, 'd'), static_cast<int>(depth));
  const size_t inFront = data().size() + depth * 201 + 1;
  for (size_t length = LIMIT - 2; length <= LIMIT + 2; ++length) {
    plant(directory, std::string(length - inFront, 'f'));
  }
  nest(std::string(200, 'e'), 30);

  EXPECT_EQ(scan(data()).status, 0);

  size_t longest = 0;
  for (const std::string& file : files_) longest = std::max(longest, data().size() + 1 + file.size());
  EXPECT_EQ(longest, LIMIT);
  // An "f" in each d, and in each e whose own path leaves room for it.
  EXPECT_EQ(fileCount_, static_cast<long long>(2 + 3 + depth + (LIMIT - data().size() - 2) / 201));
  // Two directories have entries that don't fit; each is told once.
  const std::string tooLong = "STA0139W A path is too long. It begins with \"" + data() + "/";
  EXPECT_THAT(tree_.logLines(), Contains(StartsWith(tooLong + "d")).Times(1));
  EXPECT_THAT(tree_.logLines(), Contains(StartsWith(tooLong + "e")).Times(1));
}

TEST_F(WalkTest, AHugeDirectoryTakesNoMoreMemoryThanItsChunks) {
  const Outcome small = scan(data());
  constexpr int ENTRIES = 300'000;
  const FileDescriptor directory = openFile(data().c_str(), O_DIRECTORY);
  for (int i = 0; i < ENTRIES; ++i) {
    ASSERT_EQ(mknodat(directory.get(), std::to_string(i).c_str(), S_IFREG | 0644, 0), 0);
  }
  Definition definition = summaryOf({data()});
  for (const char* list : {"sdLargestFiles", "sdLeastAccessed", "sdLargestDirectories"})
    definition.records[1].set(list, 100);
  tree_.define(definition.text());
  std::filesystem::remove(tree_.logFile());

  const Outcome outcome = tree_.scan();

  EXPECT_EQ(outcome.status, 0);
  const ResultFile result(tree_.resultFile());
  EXPECT_EQ(result.number(only(result.results(5, 1), "SSummary"), "sumFileCount"), ENTRIES + 2);
  std::vector<std::string> counts = tree_.logLines();
  EXPECT_THAT(
      std::vector<std::string>(counts.begin() + 4, counts.end() - 1),
      ElementsAre("AGT0143I 100000 entries scanned so far.", "AGT0143I 200000 entries scanned so far.",
                  "AGT0143I 300000 entries scanned so far.",
                  "AGT0144I The file system has been walked: 300003 entries scanned."));
  if (SANITIZED) GTEST_SKIP() << "the sanitizer's own memory is not the program's";
  EXPECT_LT(outcome.usage.ru_maxrss, 32 * 1024) << "kilobytes";
  EXPECT_LT(outcome.usage.ru_maxrss, small.usage.ru_maxrss + 8192) << "kilobytes: what may be read ahead";
}

}  // namespace
}  // namespace agent::test
