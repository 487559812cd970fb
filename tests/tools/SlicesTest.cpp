// Cutting a definition, and joining what its slices have found. scripts/slices compares whole results.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Common/SafeText.h"
#include "MadeResult.h"
#include "Report.h"
#include "definition/ScandefOptions.h"
#include "slices/SliceChoice.h"
#include "slices/SlicesCommand.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Property;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

bool yes(const std::string&) {
  return true;
}

TEST(SliceChoiceTest, PiecesComeNearTheSameWeightHoweverDeepTheWorkLies) {
  // All the work below one directory, in eight directories of one weight each, and little beside.
  scandef::Weights weights = {{"/m", 1}, {"/m/small", 1}};
  for (int i = 0; i < 8; ++i) weights["/m/a/b/" + std::to_string(i) + "/c"] = 100;
  const scandef::SliceChoice choice = scandef::chooseSlices({"/m"}, weights, {8, false}, yes);
  EXPECT_THAT(choice.directories, SizeIs(8));
  EXPECT_THAT(choice.heaviest, Le(0.13));
}

TEST(SliceChoiceTest, APieceWithMoreThanATenthIsCutAgain) {
  scandef::Weights weights = {{"/m/many", 1}, {"/m/b", 900}, {"/m/c", 900}};
  for (int i = 0; i < 40; ++i) weights["/m/many/" + std::to_string(i)] = 200;
  const scandef::SliceChoice choice = scandef::chooseSlices({"/m"}, weights, {2, true}, yes);
  EXPECT_THAT(choice.directories, SizeIs(38));
  EXPECT_THAT(choice.heaviest, Le(0.1));
}

TEST(SliceChoiceTest, WhatMayNotBeASliceIsPassedOver) {
  const scandef::Weights weights = {{"/m/a", 10}, {"/m/a/b", 10}, {"/m/c", 1}, {"/elsewhere", 99}};
  const auto choice = scandef::chooseSlices({"/m"}, weights, {5, false},
                                            [](const std::string& path) { return path != "/m/a"; });
  EXPECT_THAT(choice.directories, ElementsAre("/m/a/b", "/m/c"));
}

// What scandef says against a slice.
TEST(SlicesTest, ADirectoryThatNoWalkCouldBeginWithIsRefusedWithTheReason) {
  const TemporaryDirectory tree;
  const std::string root = std::filesystem::canonical(tree.path());
  for (const char* const part : {"a/b/c", "watched/below", "copies/.snapshot"})
    std::filesystem::create_directories(root + "/" + part);
  std::filesystem::create_directory_symlink("a", root + "/link");
  const std::vector<std::pair<std::string, std::string>> refused = {
      {"/a/b/none", "can't be looked at"},
      {"/link/b", "is no directory"},
      {"/watched/below", "is a part of what"},
      {"/copies", "has the name of a file system's own copies"},
      {"/../" + root.substr(root.rfind('/') + 1) + "/a", "no path goes by"},
      {"", "it lies below no mount point"},
  };
  for (const auto& [below, reason] : refused) {
    scandef::ScandefOptions options{scandef::MountKinds()};
    options.parse({root, "--monitor", "watched", "--slice", root + "/a/b", "--slice", root + below,
                   "--output", root + "/out"});
    try {
      scandef::writeSlices(options.request());
      ADD_FAILURE() << below;
    } catch (const scandef::UsageError& error) {
      EXPECT_THAT(error.what(), HasSubstr(reason));
    }
  }
  EXPECT_FALSE(std::filesystem::exists(root + "/out"));
}

std::string cut(const std::vector<std::string>& words) {
  scandef::ScandefOptions options{scandef::MountKinds()};
  options.parse(words);
  scandef::writeSlices(options.request());
  return content(options.request().output + "/slices");
}

TEST(SlicesTest, ASliceThatTookLongIsCutAgainWhateverItsDirectoriesHold) {
  const TemporaryDirectory tree;
  const std::string root = std::filesystem::canonical(tree.path()), fs = root + "/fs";
  for (const char* const part : {"slow/1/f", "slow/2/f", "slow/3/f", "large/1/f", "large/2/f"})
    tree.file("fs/" + std::string(part));
  for (int i = 0; i < 50; ++i) tree.file("fs/large/" + std::to_string(i % 3) + "/" + std::to_string(i));
  EXPECT_EQ(cut({fs, "--slice", fs + "/slow", "--output", root + "/first"}),
            "0\t" + fs + "\n1\t" + fs + "/slow\n");
  EXPECT_THAT(content(root + "/first/0/mounts"), "cover " + fs + "/slow\n");
  EXPECT_THAT(content(root + "/first/1/mounts"), "bind " + fs + "/slow\n");

  EXPECT_THAT(cut({fs, "--slices", "1", "--output", root + "/by entries"}),
              ::testing::Not(HasSubstr("/slow/")));
  tree.file("first/0/seconds", "1\n");
  tree.file("first/1/seconds", "1000\n");
  const std::string again =
      cut({fs, "--slices", "1", "--times", root + "/first", "--output", root + "/by times"});
  for (const char* const part : {"/slow/1", "/slow/2", "/slow/3"})
    EXPECT_THAT(again, HasSubstr(fs + part + "\n"));
}

TEST(SlicesTest, TheLastResultTellsWhereEntriesLie) {
  const TemporaryDirectory tree;
  const std::string root = std::filesystem::canonical(tree.path()), fs = root + "/fs";
  tree.file("fs/docs/inner/f");
  for (int i = 0; i < 20; ++i) tree.file("fs/other/" + std::to_string(i));
  const std::vector<std::string> words = {fs, "--slices", "1", "--output"};
  const auto chosen = [&words](const std::string& output, const std::vector<std::string>& more) {
    std::vector<std::string> all = words;
    all.push_back(output);
    all.insert(all.end(), more.begin(), more.end());
    return cut(all);
  };
  EXPECT_THAT(chosen(root + "/looked", {}), HasSubstr("1\t" + fs + "/other\n"));
  const std::string last = tree.file(
      "last.dat", madeResult(fs, {{"\"1\",\"5\",\"1\",\"0\",\"88\"", "\"1\",\"5\",\"1000\",\"0\",\"88\""}}));
  EXPECT_THAT(chosen(root + "/told", {"--last", last}), HasSubstr("1\t" + fs + "/docs"));
}

/// Results of the rest of a file system and of a slice of it.
struct TwoResults {
  explicit TwoResults(const std::string& place) {
    directory.file("rest.dat", madeResult("/one"));
    directory.file("slice.dat", madeResult(place, {{"{two}", "/two" + place}}));
  }
  TemporaryDirectory directory;
  std::string rest = directory / "rest.dat", slice = directory / "slice.dat",
              joined = directory / "joined.dat";
};

TEST(ResultMergeTest, OneResultComesBackByteForByte) {
  const TwoResults results("/one/a");
  EXPECT_EQ(Report({"--merge", results.rest, "-o", results.joined}).status, 0);
  EXPECT_EQ(content(results.joined), content(results.rest));
}

TEST(ResultMergeTest, WhatIsEqualStandsInTheOrderOfTheResults) {
  const TwoResults results("/one/a");
  const auto firstFile = [&results](const std::string& first, const std::string& second) {
    EXPECT_EQ(Report({"--merge", first, second, "-o", results.joined}).status, 0);
    const std::string text = content(results.joined);
    const size_t file = text.find("[SFile]", text.find("[/Header]"));
    return text.substr(file, text.find('\n', file + 8) - file);
  };
  EXPECT_THAT(firstFile(results.slice, results.rest), HasSubstr("\"/one/a/"));
  EXPECT_THAT(firstFile(results.rest, results.slice), ::testing::Not(HasSubstr("\"/one/a/")));
}

// The results of a cut say which slices there are.
TEST(ResultMergeTest, AMissingSliceIsTold) {
  const TwoResults results("/one/a");
  for (const auto& [file, number] : {std::pair("rest.dat", "0"), std::pair("slice.dat", "2")}) {
    const std::string text = content(results.directory / file);
    const std::string mark = "\"scandef slices\",\"slice " + std::string(number) + " of 2\"";
    results.directory.file(file, replaced(text, "\"NRVUser\",\"SQL_NAME_SUMMARY_FILESYS\"", mark));
  }
  const Report report({"--merge", results.rest, results.slice, "-o", results.joined});
  EXPECT_EQ(report.status, 1);
  EXPECT_THAT(report.err, HasSubstr("of slices 0 to 2 there is no result of 1"));
}

TEST(ResultMergeTest, WhatIsNoSliceOfTheOthersIsToldAndNothingIsWritten) {
  const TwoResults results("/elsewhere");
  results.directory.file("cut.dat", content(results.slice).substr(0, 9000));
  const std::vector<std::pair<std::vector<std::string>, std::string>> wrong = {
      {{results.rest, results.slice}, "neither of \"/one\" and \"/elsewhere\" lies in the other"},
      {{results.rest, results.rest}, "are both of"},
      {{results.rest, results.directory / "cut.dat"}, "is not whole"},
      {{results.rest, results.directory / "none.dat"}, "can't be opened"},
  };
  for (const auto& [files, reason] : wrong) {
    std::vector<std::string> words = {"--merge", "-o", results.joined};
    words.insert(words.end(), files.begin(), files.end());
    const Report report(words);
    EXPECT_EQ(report.status, 1);
    EXPECT_THAT(report.err, HasSubstr(reason));
    EXPECT_FALSE(std::filesystem::exists(results.joined));
  }
  EXPECT_THAT(Report({"--merge", results.rest, "-o", results.rest}).err,
              HasSubstr("would replace the result"));
}

}  // namespace
}  // namespace agent::test
