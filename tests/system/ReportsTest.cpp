// What people see of a result.

#include <gmock/gmock.h>

#include <map>
#include <nlohmann/json.hpp>

#include "system/Reports.h"
#include "system/ResultFile.h"
#include "system/SystemTest.h"

namespace agent::test {

namespace {

Outcome report(std::vector<std::string> arguments) {
  Launch launch;
  launch.program = SCANREPORT_PROGRAM;
  launch.arguments = std::move(arguments);
  return run(launch);
}

/// Columns that a line takes: one for each code point.
size_t columns(const std::string& line) {
  return static_cast<size_t>(
      std::count_if(line.begin(), line.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

bool isControl(char byte) {
  return (byte >= 0 && byte < ' ') || byte == 0x7F;
}

/// Records by class, as far as they stand on lines of their own in JSON.
void countRecords(const Node& node, std::map<std::string, size_t>& counts) {
  for (const Node& child : node.children) {
    ++counts[child.tag];
    countRecords(child, counts);
  }
}

}  // namespace

void expectGoodReports(const std::string& resultFile) {
  const Outcome text = report({resultFile});
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.err, "");
  EXPECT_NO_THROW(nlohmann::json(text.out).dump()) << "the report is no UTF-8";
  for (const std::string& line : linesOf(text.out)) {
    EXPECT_LE(columns(line), 80U) << line;
    EXPECT_TRUE(std::none_of(line.begin(), line.end(), isControl)) << line;
  }

  const Outcome json = report({"--json", resultFile});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.err, "");
  std::map<std::string, size_t> shown, stored;
  countRecords(ResultFile(content(resultFile)).root(), stored);
  for (const std::string& line : linesOf(json.out)) {
    EXPECT_TRUE(std::none_of(line.begin(), line.end(), isControl)) << line;
    const auto object = nlohmann::json::parse(line, nullptr, false);
    ASSERT_TRUE(object.is_object()) << line;
    ++shown[object.at("class").get<std::string>()];
  }
  for (const char* record : {"SFile", "SDirectory", "SSummary", "SSizeDist", "SUserOrGroup", "STimeDist",
                             "FileTypeSummary", "CuStatResults", "CuStatDef"}) {
    EXPECT_EQ(shown[record], stored[record]) << record;
  }
}

namespace {

TEST(ReportsTest, FilesThatAreNoResultsAreToldFromThoseThatAre) {
  const TemporaryDirectory directory;
  const std::string header = "[Header]\n[SSummary]\nsumFileCount\n[/Header]\n";
  struct Case {
    const char* comment;
    std::string file;
    std::string reason;
  };
  for (const Case& c : {
           Case{"missing", directory / "missing", ""},
           Case{"a directory", directory.path(), ""},
           Case{"empty", directory.file("empty"), "it holds no result (no \"AgentScan\" node)"},
           Case{"bytes", directory.file("bytes", std::string(5000, '\xff')),
                "it holds no result (no \"AgentScan\" node)"},
           Case{"a header block alone", directory.file("header", header),
                "it holds no result (no \"AgentScan\" node)"},
       }) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{c.file}, {"--json", c.file}}) {
      const Outcome outcome = report(arguments);
      EXPECT_EQ(outcome.status, 1) << c.comment;
      EXPECT_EQ(outcome.out, "") << c.comment;
      EXPECT_THAT(outcome.err, ::testing::AllOf(::testing::StartsWith("scanreport: \"" + c.file +
                                                                      "\" can't be shown: " + c.reason),
                                                ::testing::EndsWith("\n")))
          << c.comment;
    }
  }
}

TEST(ReportsTest, AResultCutAnywhereEndsInAReportOrAnError) {
  const TemporaryDirectory directory;
  const std::string whole = content(SYSTEM_TEST_EXPECTED "/two_file_systems.dat");
  for (size_t i = 0; i < 80; ++i) {
    const std::string cut = directory.file("cut", whole.substr(0, whole.size() * i / 80));
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{cut}, {"--json", cut}}) {
      const Outcome outcome = report(arguments);
      EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << i << " signal " << outcome.signal;
      EXPECT_EQ(outcome.status == 1, !outcome.err.empty()) << i;
    }
  }
}

}  // namespace
}  // namespace agent::test
