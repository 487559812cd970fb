#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <tuple>

#include "figures/ResultFile.h"
#include "support/TemporaryDirectory.h"
#include "terminal/Pager.h"
#include "tools/Report.h"

namespace agent::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(ScanreportTest, AResultCutAnywhereIsShownAsFarAsItGoesWithAWarning) {
  const TemporaryDirectory directory;
  const std::string whole = content(RESULTS "/two_file_systems.dat");
  const std::string first = whole.substr(0, whole.find("[/CuStatDef]\n[Filesystem]") + 13) + "[/AgentScan]\n";
  // At every byte where there is one file system, at every line where there are two.
  for (const std::string& text : {first, whole}) {
    const std::string file = directory.file("cut", text);
    ASSERT_EQ(Report({file}).status, 0);
    for (size_t size = text.size(); size-- > 0;) {
      if (text.size() == whole.size() && text[size] != '\n') continue;
      std::filesystem::resize_file(file, size);
      const auto fault = tools::readResultFile(file).fault;
      ASSERT_TRUE(fault) << size;
      ASSERT_EQ(fault->line, 1 + std::count(text.data(), text.data() + size, '\n')) << size;
      if (text.size() != whole.size()) continue;
      for (const auto& [option, warning] :
           {std::pair{"--rows=3", "WARNING: this"}, {"--json", "{\"class\":\"NotWhole\","}}) {
        const Report shown({option, file});
        ASSERT_EQ(shown.status, 1) << size;
        ASSERT_THAT(shown.err, EndsWith(": " + fault->text() + "\n"));
        ASSERT_TRUE(shown.out.empty() || shown.out.starts_with(warning)) << size;
      }
    }
  }
  // What was found in a monitored directory isn't shown as if it were the whole file system's.
  directory.file("cut", whole.substr(0, whole.find("[SMonDir]", whole.find("\"of directories\""))));
  EXPECT_THAT(Report({directory / "cut"}).out, Not(HasSubstr("of directories")));
}

TEST(ScanreportTest, WhatIsNoWholeResultIsToldWithTheLineAndWhatWasExpected) {
  const TemporaryDirectory directory;
  const std::string whole = content(RESULTS "/two_file_systems.dat");
  const std::string begin = "expected \"[Header]\", with which every result begins";
  const std::string header = "[Header]\n[AgentScan]\nasJobName\n[/Header]\n";
  const std::string behind = std::to_string(std::count(whole.begin(), whole.end(), '\n') + 1);
  // The first of these behind the header block.
  const auto with = [&whole](const std::string& from, const std::string& to) {
    std::string damaged = whole;
    return damaged.replace(damaged.find(from, damaged.find("[/Header]")), from.size(), to);
  };
  for (const auto& [text, reason] : std::vector<std::pair<std::string, std::string>>{
           {"", "line 1: " + begin + ", but the file ends here"},
           {"\x1B\n", "line 1: " + begin},
           {header, "line 5: expected \"[AgentScan]\", but the file ends here"},
           {header + "[AgentScan]\n\"daily\"\n",
            "line 6: expected a node: what has a row here is a definition, no result"},
           {with("[SSummary]\n\"", "[SSummary]\n\"7\",\""), "line 63: expected a row of 11 cells, not of 12"},
           {with("\"\n[/SSummary]", "\n[/SSummary]"), "line 63: expected the quote that ends a cell"},
           {with("[/SSummary]", "[/SFile]"), "line 64: expected \"[/SSummary]\""},
           {with("[SSummary]\n\"", "[SSummary]\n[SSummary]\n\""), "line 63: expected a row of 11 cells"},
           {with("[SSummary]\n\"", "[SSumary]\n\""), "line 62: expected a class that the header block names"},
           {whole + "[/AgentScan]\n", "line " + behind + ": expected the end of the file"},
       }) {
    const Report shown({directory.file("file", text)});
    EXPECT_EQ(shown.status, 1);
    EXPECT_THAT(shown.err, EndsWith(": " + reason + "\n"));
    EXPECT_THAT(shown.out, text.size() < 100 ? ::testing::Matcher<std::string>(::testing::IsEmpty())
                                             : HasSubstr("\n  " + reason + "\n\n{two}"));
  }
  for (const auto& [path, reason] :
       {std::pair(directory.path(), "it is no regular file"),
        std::pair(directory / "none", "it can't be opened: No such file or directory")}) {
    EXPECT_EQ(Report({path}).err, "scanreport: \"" + path + "\" can't be shown: " + reason + "\n");
  }
  const Report refused({"-\x1Bx", "file"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.err, AllOf(HasSubstr("-\\x1Bx"), EndsWith("\nTry scanreport --help.\n")));
  EXPECT_THAT(Report({"-h"}).out, StartsWith("Usage: "));
}

TEST(ScanreportTest, ListsBeginWithTheLargestAndTellHowManyMoreThereAre) {
  const TemporaryDirectory directory;
  std::string text =
      "[Header]\n[AgentScan]\nasJobName\n[Filesystem]\nfsMountPoint\n[CuStatDef]\nsdName,sdType\n["
      "ResultsByFS]\n[CuStatResults]\nsrID\n"
      "[SSummary]\nsumFileCount,sumTotalSize\n[SMonDir]\nfaName\n[SFile]\nfaName,faAccessed,faBlocks,"
      "sfStatType\n[UserOrGroup]\nugName\n[/Header]\n[AgentScan]\n[Filesystem]\n\"/\"\n[/"
      "Filesystem]\n[CuStatDef]\n\"s\",\"0\"\n";
  const auto add = [&text](const std::string& directoryName, int size, const std::string& files) {
    text += "[ResultsByFS]\n[CuStatResults]\n\"1\"\n" + files + "[SSummary]\n\"1\",\"" +
            std::to_string(size) + "\"\n[/SSummary]\n[/CuStatResults]\n[SMonDir]\n\"" + directoryName +
            "\"\n[/SMonDir]\n[/ResultsByFS]\n";
  };
  std::string files;
  for (const char* file : {"new\",\"-60000\",\"1", "old\",\"-7200000\",\"2", "mid\",\"-120000\",\"3"}) {
    files += std::string("[SFile]\n\"") + file +
             "\",\"1\"\n[UserOrGroupUser]\n\"anna\"\n[/UserOrGroupUser]\n[/SFile]\n";
  }
  add("small", 2, "");
  add("files", 4, files);
  add("\xE6\xAC\xA2\xE2\x80\xAE", 6, "");
  const std::string file = directory.file("result", text + "[/CuStatDef]\n[/AgentScan]\n");

  const std::string shown = Report({"--rows", "2", file}).out;
  EXPECT_EQ(shown.substr(shown.find("\n--")),
            "\n-- s\n    3.00 KiB            1 files  \xE6\xAC\xA2\\xE2\\x80\\xAE\n"
            "\n-- s  in files\n  counted       1 files, 0 directories, 2.00 KiB allocated\n\n"
            "Files least recently used\n"
            "    1.00 KiB        2 hours  anna           old\n"
            "    1.50 KiB          2 min  anna           mid\n"
            "  .. and 1 more\n\n  .. and 1 more\n");
  // In JSON the same character is spelled, not shown.
  EXPECT_THAT(Report({"--json", file}).out, HasSubstr("\"\xE6\xAC\xA2\\u202e\""));
}

TEST(PagerTest, ATextLongerThanTheTerminalGoesThroughThePagerOnceAndIsNeverLost) {
  const TemporaryDirectory directory;
  const std::string seen = directory / "seen", text = "one\ntwo\n";
  for (const auto& [pager, lines, throughPager] :
       std::vector<std::tuple<std::string, size_t, bool>>{{"cat >" + seen, 2, true},
                                                          {"cat >" + seen, 3, false},  // it fits
                                                          {"cat >" + seen, 0, false},  // no terminal
                                                          {"/no/pager", 2, false}}) {
    std::filesystem::remove(seen);
    setenv("PAGER", pager.c_str(), 1);
    std::ostringstream out;
    tools::showText(text, out, lines);
    EXPECT_EQ(out.str(), throughPager ? "" : text) << pager << lines;
    EXPECT_EQ(content(seen), throughPager ? text : "") << pager << lines;
  }
  unsetenv("PAGER");
}

}  // namespace
}  // namespace agent::test
