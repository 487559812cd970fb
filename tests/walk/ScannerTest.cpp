#include "Scan/unix/ScannerUnix.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Probe/Filesystem.h"
#include "Scan/identity/UberTable.h"
#include "Scan/selection/Selection.h"
#include "Scan/unix/DirectoryReaderUnix.h"
#include "Scan/unix/UnixUserTable.h"
#include "Scan/walk/FileAction.h"
#include "support/JobLog.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

/// Users 0 ("root") and 7 ("seven"); everybody else has gone.
class FewUsers : public UserDatabase {
 public:
  int findUser(uint32_t uid, std::string& name, std::string& description) override {
    description = "somebody";
    name = uid == 0 ? "root" : "seven";
    return uid == 0 || uid == 7 ? 0 : NO_ENTRY;
  }
  int findGroup(uint32_t gid, std::string& name) override {
    name = "wheel";
    return gid == 0 ? 0 : NO_ENTRY;
  }
};

/// System calls that fail for some names, or do something just before.
class RefusableCalls : public DirectoryCalls {
 public:
  std::map<std::string, int> refusedToOpen, refusedToStat;
  std::map<std::string, std::function<void()>> beforeOpen;
  int readsBeforeFailure = -1;  // of all directories, an entry or two each; -1: none fails

  int openDirectory(int parent, const char* name) override {
    if (const auto hook = beforeOpen.find(name); hook != beforeOpen.end()) hook->second();
    if (refuse(refusedToOpen, name)) return -1;
    return DirectoryCalls::openDirectory(parent, name);
  }
  int statEntry(int directory, const char* name, struct stat& status) override {
    if (refuse(refusedToStat, name)) return -1;
    return DirectoryCalls::statEntry(directory, name, status);
  }
  ssize_t readEntries(int directory, void* buffer, size_t size) override {
    if (readsBeforeFailure < 0) return DirectoryCalls::readEntries(directory, buffer, size);
    if (readsBeforeFailure-- > 0) return DirectoryCalls::readEntries(directory, buffer, 48);
    errno = EIO;
    return -1;
  }

 private:
  static bool refuse(const std::map<std::string, int>& refused, const std::string& name) {
    const auto found = refused.find(name);
    if (found == refused.end()) return false;
    errno = found->second;
    return true;
  }
};

/// Writes down what the walk offers, as paths below the root: "a" acted upon, "+a" entered, "-" left,
/// "!" passed over.
class RecordingAction : public FileAction {
 public:
  explicit RecordingAction(size_t rootLength) : FileAction("RecordingAction"), rootLength_(rootLength) {}

  void actUpon(Scanner&, FileAttributes& attributes) override {
    visited.push_back(below(attributes));
    events.push_back(below(attributes));
  }
  void directoryEntered(FileAttributes& attributes) override { events.push_back("+" + below(attributes)); }
  void directoryLeft() override { events.emplace_back("-"); }
  void directoryPassedOver() override { events.emplace_back("!"); }

  std::vector<std::string> visited;  // without the root
  std::vector<std::string> events;

 private:
  std::string below(const FileAttributes& attributes) const { return attributes.faName.substr(rootLength_); }

  size_t rootLength_;
};

class ScannerTest : public ::testing::Test {
 protected:
  ScannerTest() {
    filesystem_.fsMountPoint = tree_.path() + "/";
    action_ = std::make_unique<RecordingAction>(filesystem_.fsMountPoint.size());
    Selection selection;
    selection.setExpression("");
    selection.compile("everything", 0);
    everything_ = selection.takeRoot();
  }

  int walk() { return walk(tree_.path()); }
  int walk(const std::string& localPath) {
    ScannerUnix scanner({.filesystem = filesystem_,
                         .actions = {action_.get()},
                         .selections = {everything_.get()},
                         .userTable = users_,
                         .factory = factory_,
                         .localPath = localPath},
                        calls_);
    return scanner.scan();
  }
  /// What was acted upon, without the root, sorted.
  std::vector<std::string> visited() const {
    std::vector<std::string> names = action_->visited;
    std::erase(names, "");
    std::sort(names.begin(), names.end());
    return names;
  }
  void directory(const std::string& name) { std::filesystem::create_directories(tree_ / name); }

  TemporaryDirectory tree_;
  JobLog log_;
  Filesystem filesystem_;
  RefusableCalls calls_;
  DirectoryReaderFactoryUnix factory_{calls_};
  UberTable owners_;
  UnixUserTable users_{owners_, std::make_unique<FewUsers>()};
  SelectTree everything_;
  std::unique_ptr<RecordingAction> action_;
};

TEST_F(ScannerTest, OffersEveryEntryOnceAndBalancesEnteringAndLeaving) {
  tree_.file("a/b/c");
  directory("empty");
  tree_.file("d");

  EXPECT_EQ(walk(), 0);

  EXPECT_THAT(visited(), ElementsAre("a", "a/b", "a/b/c", "d", "empty"));
  EXPECT_EQ(action_->events.front(), "");  // the root is offered like any entry,
  EXPECT_EQ(action_->events[1], "+");      // then entered,
  EXPECT_EQ(action_->events.back(), "-");  // and left last
  EXPECT_EQ(std::count(action_->events.begin(), action_->events.end(), "-"), 4);
  const auto empty = std::find(action_->events.begin(), action_->events.end(), "+empty");
  ASSERT_NE(empty, action_->events.end());
  EXPECT_EQ(*std::next(empty), "-");
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("6")));  // AGT0144I counts the root as well
}

TEST_F(ScannerTest, ReportsAnUnreadableDirectoryOnceAndGoesOn) {
  tree_.file("docs/a");
  tree_.file("secret/b");
  tree_.file("tail/c");
  for (const int ours : {EMFILE, ENFILE}) {  // not the tree's fault, so the result must not look clean
    calls_.refusedToOpen["secret"] = ours;
    EXPECT_EQ(walk(), 4);
  }
  action_ = std::make_unique<RecordingAction>(filesystem_.fsMountPoint.size());
  calls_.refusedToOpen["secret"] = EACCES;

  EXPECT_EQ(walk(), 0);

  EXPECT_THAT(visited(), ElementsAre("docs", "docs/a", "secret", "tail", "tail/c"));
  const auto entered = std::find(action_->events.begin(), action_->events.end(), "+secret");
  ASSERT_NE(entered, action_->events.end());
  EXPECT_EQ(*std::next(entered), "-");
  EXPECT_THAT(log_.lines(), Contains("STA0121E Unable to open the directory \"" + (tree_ / "secret") +
                                     "\": Permission denied. Its content is not counted; the scan goes on."));
}

TEST_F(ScannerTest, PassesOverAnEntryThatVanishedAndCountsIt) {
  tree_.file("gone");
  tree_.file("here");
  calls_.refusedToStat["gone"] = ENOENT;

  EXPECT_EQ(walk(), 0);

  EXPECT_THAT(visited(), ElementsAre("here"));
  EXPECT_THAT(log_.lines(),
              ElementsAre(AllOf(HasSubstr("STA0063E"), HasSubstr(tree_ / "gone")), HasSubstr("3")));
}

// Whoever may rename in the tree must not be able to lead a scan that runs as root out of it.
TEST_F(ScannerTest, DoesNotEnterADirectoryThatWasExchangedAfterItsStat) {
  TemporaryDirectory outside;
  outside.file("shadow");
  tree_.file("victim/inside");
  tree_.file("tail/c");
  const auto exchangeForLink = [&] {
    std::filesystem::rename(tree_ / "victim", tree_ / "aside");
    std::filesystem::create_symlink(outside.path(), tree_ / "victim");
  };
  const auto exchangeForDirectory = [&] {
    std::filesystem::rename(tree_ / "victim", outside / "aside");
    tree_.file("victim/other");
  };
  for (const auto& exchange : std::vector<std::function<void()>>{exchangeForLink, exchangeForDirectory}) {
    calls_.beforeOpen["victim"] = exchange;
    EXPECT_EQ(walk(), 0);
    EXPECT_THAT(visited(), Not(Contains(HasSubstr("shadow"))));
    EXPECT_THAT(visited(), Not(Contains("victim/other")));
    EXPECT_THAT(visited(), Contains("tail/c"));
    EXPECT_THAT(log_.lines(), Contains(AllOf(HasSubstr("STA0121E"), HasSubstr(tree_ / "victim"))));
    calls_.beforeOpen.clear();
    action_->visited.clear();
    std::filesystem::remove_all(tree_ / "victim");
    std::filesystem::remove_all(tree_ / "aside");
    tree_.file("victim/inside");
  }
}

TEST_F(ScannerTest, StopsAtTwoHundredLevelsWithoutFailing) {
  std::string nested;
  for (int i = 0; i < 250; ++i) nested += "d/";
  directory(nested);

  EXPECT_EQ(walk(), 0);

  EXPECT_THAT(visited(), SizeIs(200));
  std::string deepest = tree_.path();
  for (int i = 0; i < 200; ++i) deepest += "/d";
  EXPECT_THAT(log_.lines(), ElementsAre(AllOf(HasSubstr("STA0001E"), HasSubstr(deepest)), HasSubstr("201")));
  EXPECT_EQ(std::count(action_->events.begin(), action_->events.end(), "!"), 1);
  EXPECT_EQ(std::count(action_->events.begin(), action_->events.end(), "-"), 200);
}

TEST_F(ScannerTest, LosesTheFileSystemWhenItsRootCannotBeRead) {
  EXPECT_EQ(walk(tree_ / "missing"), 8);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("STA0121E")));

  calls_.refusedToStat[""] = EIO;
  EXPECT_EQ(walk(), 8);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("STA0121E"), HasSubstr("STA0063E")));
  EXPECT_THAT(action_->events, IsEmpty());

  calls_.refusedToStat.clear();
  calls_.readsBeforeFailure = 0;
  EXPECT_EQ(walk(), 8);
  EXPECT_EQ(log_.lines().back(), "STA0121E Unable to open the directory \"" + tree_.path() +
                                     "\": Input/output error. Its content is not counted; the scan goes on.");
  EXPECT_THAT(action_->events, IsEmpty());
}

TEST_F(ScannerTest, CountsWhatItHasSeenOfARootWhoseListingBreaksOff) {
  for (const char* name : {"a", "b", "c"}) tree_.file(name);
  calls_.readsBeforeFailure = 3;  // at the latest the third gives a name that isn't "." or ".."

  EXPECT_EQ(walk(), 4);

  EXPECT_THAT(visited(), Not(IsEmpty()));
  EXPECT_THAT(log_.lines(),
              Contains(AllOf(HasSubstr("GEN0104W"), HasSubstr(tree_.path()), HasSubstr("error"))));
}

}  // namespace
}  // namespace agent::test
