#include "report/HtmlReport.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <regex>
#include <sstream>

#include "figures/ResultFile.h"
#include "report/HtmlWriter.h"
#include "report/ScanreportCommand.h"
#include "report/Treemap.h"
#include "support/TemporaryDirectory.h"
#include "tools/Report.h"

namespace agent::test {
namespace {

using ::testing::DoubleNear;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using tools::Figures;
using tools::Rectangle;
using tools::SpaceOf;
using tools::TreemapCell;

TEST(HtmlWriterTest, TextIsNothingButTextBetweenTagsAndInAttributes) {
  const auto shown = [](std::string_view bytes) { return tools::text(bytes).escaped(); };
  EXPECT_EQ(shown("</p><script>&\"'"), "&lt;/p&gt;&lt;script&gt;&amp;&quot;&#39;");
  EXPECT_EQ(shown(std::string_view("\0\n\x1B\x7F\xE2\x80\xAE<\xFF\xC3", 10)),
            "\\x00\\x0A\\x1B\\x7F\\xE2\\x80\\xAE&lt;\\xFF\\xC3");
  EXPECT_EQ(shown("\\x41 \xD7\xA9"), "\\\\x41 \xD7\xA9");
  // Cut before it is escaped, so that no entity is halved.
  EXPECT_EQ(tools::Text::fitted("<<<<<<<<<<<<", 8).escaped(), "&lt;&lt;..&lt;&lt;&lt;&lt;");
}

bool overlap(const Rectangle& a, const Rectangle& b) {
  constexpr double ROUNDING = 1e-6;
  return a.x + a.width > b.x + ROUNDING && b.x + b.width > a.x + ROUNDING &&
         a.y + a.height > b.y + ROUNDING && b.y + b.height > a.y + ROUNDING;
}

bool isInside(const Rectangle& inner, const Rectangle& outer) {
  constexpr double ROUNDING = 1e-6;
  return inner.x >= outer.x - ROUNDING && inner.y >= outer.y - ROUNDING &&
         inner.x + inner.width <= outer.x + outer.width + ROUNDING &&
         inner.y + inner.height <= outer.y + outer.height + ROUNDING;
}

TEST(TreemapTest, AreasAreAsTheWeightsCoverTheWholeAndDoNotOverlap) {
  std::vector<double> many;
  for (size_t i = 0; i < 60; ++i) many.push_back(1e12 / static_cast<double>(i * i + 1));
  for (const auto& [weights, whole] : std::vector<std::pair<std::vector<double>, Rectangle>>{
           {{6, 6, 4, 3, 2, 2, 1}, {0, 0, 6, 4}}, {{5}, {3, 4, 10, 20}}, {many, {10, 20, 300, 1000}}}) {
    const std::vector<Rectangle> placed = tools::squarified(weights, whole);
    double sum = 0;
    for (const double weight : weights) sum += weight;
    for (size_t i = 0; i < weights.size(); ++i) {
      EXPECT_THAT(placed[i].area(), DoubleNear(weights[i] / sum * whole.area(), 1e-6 * whole.area())) << i;
      EXPECT_TRUE(isInside(placed[i], whole)) << i;
      for (size_t k = 0; k < i; ++k) EXPECT_FALSE(overlap(placed[i], placed[k])) << i << " " << k;
    }
  }
  // No strips: of these seven none is longer than three times its width.
  for (const Rectangle& one : tools::squarified({6, 6, 4, 3, 2, 2, 1}, {0, 0, 6, 4})) {
    EXPECT_LT(std::max(one.width / one.height, one.height / one.width), 3);
  }
  for (const Rectangle& one : tools::squarified({0, -1}, {0, 0, 9, 9})) EXPECT_EQ(one.area(), 0);
}

TEST(TreemapTest, DirectoriesLieInTheNearestOneThatTheyLieBelow) {
  const std::vector<tools::TreemapDirectory> directories = {
      {"a/b/c", 30}, {"a", 60}, {"ab", 10}, {"a/b", 40}, {"empty", 0}};
  for (const auto& [spaceOf, ofA, ofB] :
       {std::tuple{SpaceOf::WHOLE_TREE, 60.0, 40.0}, std::tuple{SpaceOf::DIRECTLY_IN, 130.0, 70.0}}) {
    const std::vector<TreemapCell> cells = tools::layOut(directories, spaceOf, {0, 0, 1000, 400}, {20, 3});
    std::vector<std::string> lying;
    for (const TreemapCell& cell : cells) {
      const bool isOutermost = cell.parent == TreemapCell::NO_FRAME;
      const std::string frame = isOutermost ? "" : directories[cells[cell.parent].directory].path + ": ";
      lying.push_back(frame + directories[cell.directory].path + (cell.isFrame ? " {}" : ""));
      if (isOutermost) continue;
      EXPECT_TRUE(isInside(cell.place, cells[cell.parent].place));
      EXPECT_EQ(cell.branch, cells[cell.parent].branch);
      EXPECT_GE(cell.place.y, cells[cell.parent].place.y + 20);
    }
    EXPECT_THAT(lying, ::testing::UnorderedElementsAre("a {}", "ab", "empty", "a: a/b {}", "a: a",
                                                       "a/b: a/b/c", "a/b: a/b"));
    EXPECT_EQ(cells[0].space, ofA);
    const auto frameOfB = std::find_if(cells.begin(), cells.end(), [](const TreemapCell& cell) {
      return cell.directory == 3 && cell.isFrame;
    });
    EXPECT_EQ(frameOfB->space, ofB);
  }
  std::vector<std::string> forks;
  for (const auto& one :
       tools::withForks({{"x/a/b", 1}, {"x/a/c/d", 1}, {"x/ab", 1}, {"x/ab/c", 1}, {"y", 1}})) {
    forks.push_back(one.path);
  }
  EXPECT_THAT(forks, ::testing::ElementsAre("x/a/b", "x/a/c/d", "x/ab", "x/ab/c", "y", "x", "x/a"));
  // As deep as names go, without a frame that would have no room.
  std::vector<tools::TreemapDirectory> deep;
  for (std::string path = "d"; deep.size() < 2000; path += "/d") deep.push_back({path, 1});
  EXPECT_LT(tools::layOut(deep, SpaceOf::DIRECTLY_IN, {0, 0, 1000, 400}, {20, 3}).size(), 100U);
}

std::string pageOf(const Figures& figures) {
  std::ostringstream page;
  tools::printHtml(page, figures, nullptr, 10);
  return page.str();
}

/// Every element is closed where it was opened; what a browser would mend is wrong.
std::string faultOf(const std::string& page) {
  static const std::regex TAG("<(/?)([a-z0-9]+)[^<>]*?(/?)>");
  std::vector<std::string> open;
  for (std::sregex_iterator tag(page.begin(), page.end(), TAG), end; tag != end; ++tag) {
    const std::string name = (*tag)[2];
    if (name == "meta" || name == "wbr" || (*tag)[3] == "/") continue;
    if ((*tag)[1] != "/") {
      open.push_back(name);
    } else if (open.empty() || open.back() != name) {
      return "</" + name + "> in <" + (open.empty() ? "nothing" : open.back()) + ">";
    } else {
      open.pop_back();
    }
  }
  return open.empty() ? "" : "<" + open.back() + "> isn't closed";
}

TEST(HtmlReportTest, WhateverNumbersAFileHoldsThePageIsWellFormed) {
  constexpr int64_t MOST = std::numeric_limits<int64_t>::max(), LEAST = std::numeric_limits<int64_t>::min();
  for (const int64_t number : {int64_t{0}, int64_t{1}, int64_t{-1}, MOST, LEAST}) {
    tools::EntryFigures entry{"/m/<d>/\xFF", number, number, ~number, number, 0, 1, 1, {}, {}};
    const tools::Histogram sizes{std::vector<int64_t>(8, number), std::vector<int64_t>(8, number)};
    const tools::Histogram ages{std::vector<int64_t>(10, number), std::vector<int64_t>(10, number)};
    tools::SourceFigures found;
    found.summary = {number, number, number};
    found.users = {{{1, "<u>", true}, number, number, number, number, sizes},
                   {{2, "anna", false}, number, number, number, number, sizes}};
    found.sizes = sizes;
    found.ages = {{0, number, ages}, {3, number, ages}};
    found.directories = {{entry, number, number, number}, {entry, number, number, number}};
    found.fileLists = {{1, "Files least recently used", true, false, {entry}}};
    found.types = {{".<t>", number, number}};
    Figures figures;
    figures.filesystems = {
        {1, "/m/", "EXT4", number, number, number, number, number, true, number, {entry}, {}}};
    figures.filesystems[0].statistics = {{5, "", "<s>", "<d>", found, {{entry, found}, {entry, {}}}}};
    const std::string page = pageOf(figures);
    EXPECT_EQ(faultOf(page), "") << number;
    EXPECT_THAT(page, Not(::testing::ContainsRegex("(nan|inf)(\"|%)"))) << number;
    EXPECT_EQ(page, pageOf(figures));
  }
  EXPECT_THAT(pageOf({}), HasSubstr("no file system was scanned"));
}

TEST(HtmlReportTest, ThePageReplacesAFileAsAWholeAndNothingElse) {
  const TemporaryDirectory directory;
  const std::string whole = content(RESULTS "/two_file_systems.dat");
  const std::string result = directory.file("result", whole), page = directory.file("page.html", "old");
  EXPECT_EQ(Report({"--html", page, result}).status, 0);
  const std::string written = content(page);
  EXPECT_THAT(written, StartsWith("<!DOCTYPE html>\n"));
  EXPECT_EQ(Report({"--html", "-", result}).out, written);

  // Of a file that isn't whole it says so.
  const std::string cut = directory.file("cut", whole.substr(0, whole.size() * 3 / 4));
  const Report ofCut({"--html=" + page, cut});
  EXPECT_EQ(ofCut.status, 1);
  EXPECT_THAT(ofCut.err, HasSubstr("is not whole"));
  EXPECT_THAT(content(page), HasSubstr("role=\"alert\">\n<p><strong>This result is not whole.</strong>"));
  EXPECT_EQ(faultOf(content(page)), "");

  // What can't be read leaves the old page; what can't be written says why, and leaves nothing beside it.
  const std::string before = content(page);
  EXPECT_EQ(Report({"--html", page, directory.file("none", "x")}).status, 1);
  EXPECT_EQ(content(page), before);
  std::filesystem::create_symlink(page, directory / "link");
  for (const auto& [target, reason] : std::vector<std::pair<std::string, std::string>>{
           {"/dev/null", "it is no regular file"},
           {directory / "link", "it is no regular file"},
           {directory / "no/page", "no file can be made beside it: No such file or directory"}}) {
    EXPECT_THAT(Report({"--html", target, result}).err,
                EndsWith("the page \"" + target + "\" isn't written: " + reason + "\n"));
  }
  const Report grown({"--html", "-", "--against", result, result});
  EXPECT_THAT(grown.out, HasSubstr("<h2 id=\"growth\">What has changed</h2>"));
  EXPECT_EQ(faultOf(grown.out), "");
  const Report onItself({"--html", result, result});
  EXPECT_EQ(onItself.status, 2);
  EXPECT_EQ(content(result), whole);
  EXPECT_EQ(Report({"--html", page, "--json", result}).status, 2);
  for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
    EXPECT_THAT(entry.path().filename().string(), Not(StartsWith(".")));
  }
}

}  // namespace
}  // namespace agent::test
