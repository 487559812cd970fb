#include "support/Waiting.h"
#include "walk/WalkFixture.h"

namespace agent::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// The walk by itself, and behind readers.
class ScannerTest : public WalkFixture, public ::testing::WithParamInterface<size_t> {
 protected:
  ScannerTest() { readers_ = GetParam(); }
};
INSTANTIATE_TEST_SUITE_P(Readers, ScannerTest, ::testing::Values(0, 1, 3));

TEST_P(ScannerTest, OffersEveryEntryOnceAndBalancesEnteringAndLeaving) {
  tree_.file("a/b/c");
  directory("empty");
  tree_.file("d");
  const ptrdiff_t descriptors = countOf("fd");

  EXPECT_EQ(walk(), 0);

  EXPECT_EQ(countOf("fd"), descriptors);
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

TEST_P(ScannerTest, ReportsAnUnreadableDirectoryOnceAndGoesOn) {
  tree_.file("docs/a");
  tree_.file("secret/b");
  tree_.file("tail/c");
  for (const int ours : {EMFILE, ENFILE}) {  // not the tree's fault, so the result must not look clean
    calls_->refusedToOpen["secret"] = ours;
    EXPECT_EQ(walk(), 4);
  }
  action_ = std::make_unique<RecordingAction>(filesystem_.fsMountPoint.size());
  calls_->refusedToOpen["secret"] = EACCES;

  EXPECT_EQ(walk(), 0);

  EXPECT_THAT(visited(), ElementsAre("docs", "docs/a", "secret", "tail", "tail/c"));
  const auto entered = std::find(action_->events.begin(), action_->events.end(), "+secret");
  ASSERT_NE(entered, action_->events.end());
  EXPECT_EQ(*std::next(entered), "-");
  EXPECT_THAT(log_.lines(), Contains("STA0121E Unable to open the directory \"" + (tree_ / "secret") +
                                     "\": Permission denied. Its content is not counted; the scan goes on."));
}

TEST_P(ScannerTest, PassesOverAnEntryThatVanishedAndCountsIt) {
  tree_.file("gone");
  tree_.file("here");
  calls_->refusedToStat["gone"] = ENOENT;

  EXPECT_EQ(walk(), 0);

  EXPECT_THAT(visited(), ElementsAre("here"));
  EXPECT_THAT(log_.lines(),
              ElementsAre(AllOf(HasSubstr("STA0063E"), HasSubstr(tree_ / "gone")), HasSubstr("3")));
}

// Whoever may rename in the tree must not be able to lead a scan that runs as root out of it.
TEST_P(ScannerTest, DoesNotEnterADirectoryThatWasExchangedAfterItsStat) {
  tree_.file("tail/c");
  for (const bool forLink : {true, false}) {
    const TemporaryDirectory outside;
    outside.file("shadow");
    tree_.file("victim/inside");
    calls_->beforeOpen["victim"] = [&] {
      std::filesystem::rename(tree_ / "victim", outside / "aside");
      if (forLink) std::filesystem::create_symlink(outside.path(), tree_ / "victim");
      if (!forLink) tree_.file("victim/other");
      struct stat status;
      if (stat((tree_ / "victim").c_str(), &status) == 0) calls_->forbidden = status.st_ino;
    };
    EXPECT_EQ(walk(), 0);
    EXPECT_THAT(visited(), Not(Contains(HasSubstr("shadow"))));
    EXPECT_THAT(visited(), Not(Contains("victim/other")));
    EXPECT_THAT(visited(), Contains("tail/c"));
    EXPECT_THAT(log_.lines(), Contains(AllOf(HasSubstr("STA0121E"), HasSubstr(tree_ / "victim"))));
    action_->visited.clear();
    calls_->forbidden = 0;
    std::filesystem::remove_all(tree_ / "victim");
  }
}

TEST_P(ScannerTest, StopsAtTwoHundredLevelsWithoutFailing) {
  std::string nested;
  for (int i = 0; i < 250; ++i) nested += "d/";
  directory(nested);

  EXPECT_EQ(walk(), 0);

  EXPECT_EQ(visited().size(), 200u);
  std::string deepest = tree_.path();
  for (int i = 0; i < 200; ++i) deepest += "/d";
  EXPECT_THAT(log_.lines(), ElementsAre(AllOf(HasSubstr("STA0001E"), HasSubstr(deepest)), HasSubstr("201")));
  EXPECT_EQ(std::count(action_->events.begin(), action_->events.end(), "!"), 1);
  EXPECT_EQ(std::count(action_->events.begin(), action_->events.end(), "-"), 200);
}

TEST_P(ScannerTest, LosesTheFileSystemWhenItsRootCannotBeRead) {
  EXPECT_EQ(walk(tree_ / "missing"), 8);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("STA0121E")));

  calls_->refusedToStat[""] = EIO;
  EXPECT_EQ(walk(), 8);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("STA0121E"), HasSubstr("STA0063E")));
  EXPECT_THAT(action_->events, IsEmpty());

  calls_->refusedToStat.clear();
  calls_->readsBeforeFailure = 0;
  EXPECT_EQ(walk(), 8);
  EXPECT_EQ(log_.lines().back(), "STA0121E Unable to open the directory \"" + tree_.path() +
                                     "\": Input/output error. Its content is not counted; the scan goes on.");
  EXPECT_THAT(action_->events, IsEmpty());
}

TEST_P(ScannerTest, CountsWhatItHasSeenOfARootWhoseListingBreaksOff) {
  for (const char* name : {"a", "b", "c"}) tree_.file(name);
  calls_->readsBeforeFailure = 3;  // at the latest the third gives a name that isn't "." or ".."

  EXPECT_EQ(walk(), 4);

  EXPECT_THAT(visited(), Not(IsEmpty()));
  EXPECT_THAT(log_.lines(),
              Contains(AllOf(HasSubstr("GEN0104W"), HasSubstr(tree_.path()), HasSubstr("error"))));
}

}  // namespace
}  // namespace agent::test
