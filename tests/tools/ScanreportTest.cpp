#include "scanreport_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "ResultFile.h"
#include "common/TemporaryDirectory.h"

namespace agent::test {
namespace {

/// scanreport in this process.
struct Report {
  explicit Report(const std::vector<std::string>& arguments) {
    std::ostringstream outStream, errStream;
    status = tools::scanreport(arguments, outStream, errStream, false);
    out = outStream.str();
    err = errStream.str();
  }
  int status;
  std::string out;
  std::string err;
};

TEST(ScanreportTest, FilesThatAreNoResultsAreToldFromThoseThatAre) {
  const TemporaryDirectory directory;
  const std::string header = "[Header]\n[AgentScan]\nasJobName\n[/Header]\n";
  struct Case {
    std::string file;
    std::string reason;
  };
  for (const Case& c : {
           Case{directory / "missing", "it can't be opened, or is no file"},
           Case{directory.path(), "it can't be opened, or is no file"},
           Case{directory.file("empty"),
                "line 1: expected \"[Header]\", with which every result begins, but the file ends here"},
           Case{directory.file("bytes", "\x1B\n"),
                "line 1: expected \"[Header]\", with which every result begins"},
           Case{directory.file("header", header), "line 5: expected \"[AgentScan]\", but the file ends here"},
           Case{directory.file("definition", header + "[AgentScan]\n\"daily\"\n"),
                "line 6: expected a node: what has a row here is a definition, no result"},
       }) {
    for (const std::string option : {"--rows=7", "--json"}) {
      const Report shown({option, c.file});
      EXPECT_EQ(shown.status, 1);
      EXPECT_EQ(shown.out, "");
      EXPECT_EQ(shown.err, "scanreport: \"" + c.file + "\" can't be shown: " + c.reason + "\n");
    }
  }
  const Report unknown({"-\x1Bx"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, ::testing::StartsWith("scanreport: unknown option \"-\\x1Bx\"\nusage: "));
  EXPECT_THAT(Report({"-h"}).out, ::testing::StartsWith("usage: "));
}

TEST(ScanreportTest, AResultCutAnywhereIsShownAsFarAsItGoesWithAWarning) {
  const TemporaryDirectory directory;
  const std::string whole = content(RESULTS "/two_file_systems.dat");
  // At every byte where there is one file system, at every line where there are two.
  const std::string first = whole.substr(0, whole.find("[/CuStatDef]\n[Filesystem]") + 13) + "[/AgentScan]\n";
  for (const std::string& text : {first, whole}) {
    const std::string file = directory.file("cut", text);
    ASSERT_EQ(Report({file}).status, 0);
    for (size_t size = text.size(); size-- > 0;) {
      if (text[size] != '\n' && text.size() == whole.size()) continue;
      std::filesystem::resize_file(file, size);
      const auto fault = tools::readResultFile(file).fault;
      ASSERT_TRUE(fault) << size;
      ASSERT_EQ(fault->line, 1 + std::count(text.data(), text.data() + size, '\n')) << size;
      if (text[size] != '\n') continue;
      for (const auto& [option, warning] : {std::pair{"--rows=3", "WARNING: this result is not whole."},
                                            {"--json", "{\"class\":\"NotWhole\","}}) {
        const Report shown({option, file});
        ASSERT_EQ(shown.status, 1) << size;
        ASSERT_THAT(shown.err, ::testing::AllOf(::testing::StartsWith("scanreport: \"" + file + "\" "),
                                                ::testing::EndsWith(": " + fault->text() + "\n")));
        ASSERT_TRUE(shown.out.empty() || shown.out.starts_with(warning)) << size;
      }
    }
  }
  // What was found in a monitored directory isn't shown as if it were the whole file system's.
  directory.file("cut", whole.substr(0, whole.rfind("[SMonDir]")));
  EXPECT_THAT(Report({directory / "cut"}).out, ::testing::Not(::testing::HasSubstr("of directories")));
}

TEST(ScanreportTest, ADamagedResultIsToldWithTheLineAndWhatWasExpected) {
  const TemporaryDirectory directory;
  const std::string whole = content(RESULTS "/two_file_systems.dat");
  struct Case {
    std::string from, to;  ///< the first of these after the header block
    std::string fault;
  };
  for (const Case& c : {
           Case{"[SSummary]\n\"", "[SSummary]\n\"7\",\"", "expected a row of 11 cells, not of 12"},
           Case{"\"\n[/SSummary]", "\n[/SSummary]", "expected the quote that ends a cell"},
           Case{"[/SSummary]", "[/SFile]", "expected \"[/SSummary]\""},
           Case{"[SSummary]\n\"", "[SSummary]\n[SSummary]\n\"", "expected a row of 11 cells"},
           Case{"[SSummary]\n\"", "[SSumary]\n\"", "expected a class that the header block names"},
           Case{"[/AgentScan]\n", "[/AgentScan]\n[/AgentScan]\n", "expected the end of the file"},
       }) {
    std::string damaged = whole;
    damaged.replace(damaged.find(c.from, damaged.find("[/Header]")), c.from.size(), c.to);
    const Report shown({directory.file("damaged", damaged)});
    EXPECT_EQ(shown.status, 1);
    EXPECT_THAT(shown.err, ::testing::EndsWith(": " + c.fault + "\n"));
    EXPECT_THAT(shown.out, ::testing::HasSubstr(": " + c.fault + "\n\n{two}"));
  }
}

}  // namespace
}  // namespace agent::test
