// What people see of a result.

#include <map>
#include <nlohmann/json.hpp>

#include "Common/SafeText.h"
#include "system/Reports.h"
#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {

namespace {

Outcome report(std::vector<std::string> arguments) {
  Launch launch;
  launch.program = SCANREPORT_PROGRAM;
  launch.arguments = std::move(arguments);
  return run(launch);
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
    EXPECT_LE(displayWidth(line), 80U) << line;
    EXPECT_TRUE(std::none_of(line.begin(), line.end(), isControl)) << line;
  }

  const Outcome json = report({"--json", resultFile});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.err, "");
  std::map<std::string, size_t> shown, stored;
  countRecords(ResultFile(resultFile).root(), stored);
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

}  // namespace agent::test
