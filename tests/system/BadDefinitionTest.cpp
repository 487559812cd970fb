// Definitions that nobody meant to write: whatever they hold, the job ends soon, with a code of its own.

#include <regex>
#include <set>

#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

class BadDefinitionTest : public SystemTest {
 protected:
  /// One of each record that a definition can hold.
  std::string whole() {
    Definition definition;
    definition.add(filesystem(1, data()));
    definition.add(filesystem(2, "/vol/v")
                       .add(nasFiler(3, "filer", "filer.example")
                                .add({"Domain", {{"domID", "4"}, {"domName", "d"}}})
                                .add({"LdapTree", {{"ltTreeID", "5"}, {"ltName", "t"}}})
                                .add(filesystem(6, "/x"))));
    definition.add(monitoredDirectory(3, data() + "/*"));
    definition.add(fullStatistic(5, 3, "all, \"of\" it", 10));
    definition.add(
        statistic(6, 4, "restricted").set("sdSummary", "Y").add(restrictedTo(filesystem(1, data()))));
    definition.add(fullStatistic(7, 0, "of directories", 2)
                       .set("sdWhereClause", whereClause(std::string("=T\0\0\0\1", 6))));
    return definition.text();
  }

  /// Runs a definition. It may end with any code that stands for one; a result that is left can be read.
  Outcome expectAnEnd(const std::string& text, const std::string& what) {
    tree_.define(text);
    Launch launch = tree_.launch();
    launch.limit = std::chrono::seconds(60);
    const Outcome outcome = run(launch);
    static const std::set<int> CODES{0, 4, 8, 12, 13, 17, 321 & 0xFF, 325 & 0xFF};
    EXPECT_FALSE(outcome.hung) << what;
    EXPECT_TRUE(CODES.contains(outcome.status))
        << what << ": status " << outcome.status << ", signal " << outcome.signal << "\n"
        << outcome.err.substr(0, 3000);
    const bool result = InstallTree::exists(tree_.resultFile());
    EXPECT_EQ(result, outcome.status == 0 || outcome.status == 4) << what;
    if (result) {
      EXPECT_NO_THROW(ResultFile(tree_.resultFile())) << what;
      std::filesystem::remove(tree_.resultFile());
    }
    return outcome;
  }
};

TEST_F(BadDefinitionTest, CutAnywhere) {
  const std::string text = whole();
  EXPECT_EQ(expectAnEnd(text, "whole").status, 4);  // there is no such filer
  for (size_t i = 0; i < 150; ++i) {
    const size_t length = text.size() * i / 150;
    expectAnEnd(text.substr(0, length), "cut at " + std::to_string(length));
  }
}

TEST_F(BadDefinitionTest, Oddities) {
  const std::string header =
      "[Header]\n[AgentScan]\nasJobName,asScanningCompID\n[Filesystem]\nfsID,fsMountPoint\n"
      "[CuStatDef]\nsdID,sdType,sdSummary,sdLargestFiles\n[/Header]\n";
  const std::string scan = "[AgentScan]\nx,1\n", mounted = "[Filesystem]\n1," + data() + "\n[/Filesystem]\n",
                    own = "[CuStatDef]\n5,3,Y,0\n[/CuStatDef]\n", end = "[/AgentScan]\n";
  const auto repeated = [](size_t times, const std::string& text) {
    std::string all;
    for (size_t i = 0; i < times; ++i) all += text;
    return all;
  };
  const std::string whole = header + scan + mounted + own + end;
  std::string absent;
  for (int i = 2; i <= 201; ++i) {
    absent += "[Filesystem]\n" + std::to_string(i) + ",/absent\n[/Filesystem]\n";
  }
  struct Case {
    const char* comment;
    std::string text;
    int code;
  };
  for (const Case& c : {
           Case{"blanks and carriage returns around every line",
                std::regex_replace(whole, std::regex("(.*)\n"), "\t $1 \r\n"), 0},
           Case{"nothing closed",
                header + scan + "[Filesystem]\n1," + data() + "\n[/Filesystem]\n[CuStatDef]\n5,3,Y,0", 0},
           Case{"a body alone: all of it is taken for the header block", scan + mounted, 0},
           Case{"a one-letter tag is a row: the class has no columns for it",
                header + scan + "[F]\n" + mounted + own + end, 0},
           Case{"a class unknown to the job is passed over",
                header + scan + "[Weather]\n[/Weather]\n" + mounted + own + end, 0},
           Case{"numbers beyond all widths",
                header + scan + mounted + own +
                    "[CuStatDef]\n99999999999999999999,65539,Y,-99999999999999999999\n[/CuStatDef]\n" + end,
                0},
           Case{"NUL bytes", header + scan + mounted + own + std::string(1000, '\0') + "\n" + end, 0},
           Case{"two file systems of one number", header + scan + mounted + mounted + own + end, 8},
           Case{"5 MB of quotes in a row",
                header + scan + "[Filesystem]\n1," + std::string(5 << 20, '"') + "\n[/Filesystem]\n" + end,
                4},
           Case{"a tag of 5 MB",
                header + scan + mounted + own + "[" + std::string(5 << 20, 'a') + "]\n" + end, 0},
           Case{"200,000 nodes inside each other",
                header + scan + mounted + own + repeated(200'000, "[AgentScan]\n"), 0},
           Case{"200,000 rows", header + "[AgentScan]\n" + repeated(200'000, "x,1\n") + mounted + own + end,
                0},
           Case{"20,000 statistics", header + scan + mounted + repeated(20'000, own) + end, 0},
           Case{"200 file systems that aren't there", header + scan + mounted + own + absent + end, 4},
       }) {
    const Outcome outcome = expectAnEnd(c.text, c.comment);
    EXPECT_EQ(outcome.status, c.code & 0xFF) << c.comment;
    // Its own seconds: those of the clock are the machine's.
    EXPECT_LT(outcome.usage.ru_utime.tv_sec + outcome.usage.ru_stime.tv_sec, 20) << c.comment;
  }
}

}  // namespace
}  // namespace agent::test
