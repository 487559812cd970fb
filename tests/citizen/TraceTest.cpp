#include <gmock/gmock.h>

#include <fstream>
#include <regex>

#include "citizen/AgentStandIn.h"
#include "citizen/Results.h"
#include "common/TemporaryDirectory.h"
#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;
using ::testing::StartsWith;

const std::string CLOSED = "\nEND OF DATA - close\n\n";
const std::string BEGINNING = "BEGINNING NEW TRACE\n\n";

size_t occurrences(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!data_) GTEST_SKIP() << data_.whyNot();
  }

  Outcome scan(const std::vector<std::string>& options) const {
    tree_.define(summaryOf({data_.path()}).text());
    return tree_.scan(options);
  }
  std::string trace() const { return content(tree_.traceFile()); }

  InstallTree tree_;
  const MountedFileSystem data_ = MountedFileSystem::tmpfs(tree_.room("data"));
};

TEST_F(TraceTest, AFileIsAHeaderRecordsAndAnEndMark) {
  EXPECT_EQ(scan({"-debug", "MIN"}).status, 0);

  static const std::regex HEADER(
      R"(NRV Trace   (\d+) +1          ZTA Corvane Storage Vantage Center 5\.2\.4\.1   Build date: \w{3} [ \d]\d \d{4}\n\n)");
  const std::string file = trace();
  std::smatch header;
  ASSERT_TRUE(std::regex_search(file, header, HEADER, std::regex_constants::match_continuous)) << file;
  EXPECT_EQ(file.substr(24, 11), "1          ") << "the number in front of it is twelve characters wide";
  const size_t nextWrite = std::stoul(header[1]);
  EXPECT_EQ(file.substr(nextWrite), CLOSED);

  const std::string body = file.substr(header.length(), nextWrite - static_cast<size_t>(header.length()));
  ASSERT_THAT(body, StartsWith(BEGINNING));
  static const std::regex RECORD(
      R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{3} \[\d{6,}\] \[\d+\] : \S+ *\( *\d+\): (.*))");
  std::vector<std::string> texts;
  for (const std::string& line : linesOf(body.substr(BEGINNING.size()))) {
    std::smatch record;
    texts.push_back(std::regex_match(line, record, RECORD) ? record[1].str() : line);
  }
  ASSERT_EQ(texts.size(), 6u) << body;
  EXPECT_EQ(texts[0], "Tracing to file: " + tree_.traceFile());
  EXPECT_EQ(texts[1], "Tracefile maximum length set to 1 MB.");
  EXPECT_EQ(texts[2], std::string(64, '-'));
  EXPECT_TRUE(std::regex_match(texts[3], std::regex(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d - Trace begun\.)")))
      << texts[3];
  EXPECT_EQ(texts[4],
            "ResultsByFS::printData() : INFO: Invoking printData() for the given AnalysisSource instance.");
  EXPECT_EQ(texts[5],
            "ResultsByFS::~ResultsByFS() : INFO: The actual ResultsByFS results are for a filesystem.");
}

TEST_F(TraceTest, EachWordAddsItsClasses) {
  struct Case {
    std::string word;
    bool mounts;   ///< the middle level tells what is found in the mount table
    bool entries;  ///< the highest one of each function
  };
  for (const Case& c : {Case{"MIN", false, false}, Case{"mid", true, false}, Case{"Max", true, true}}) {
    SCOPED_TRACE(c.word);
    fs::remove(tree_.traceFile());

    EXPECT_EQ(scan({"-debug", c.word}).status, 0);

    EXPECT_EQ(occurrences(trace(), ">> Current filesystem = ") > 0, c.mounts);
    EXPECT_EQ(occurrences(trace(), "Enter: startScan(...)\n"), c.entries ? 1u : 0u);
    EXPECT_EQ(occurrences(trace(), "Enter: "), occurrences(trace(), "Exit: "));
    EXPECT_EQ(InstallTree::exists(tree_.definitionFile()), c.entries)
        << "kept for whoever reads such a trace";
  }
  EXPECT_EQ(scan({}).status, 0);
}

TEST_F(TraceTest, ANextRunGoesOnInAFileThatIsNotLargerThanItMayBe) {
  struct Case {
    const char* first;
    const char* second;
    bool kept;
    const char* limit;  ///< in the header, behind the second run
  };
  for (const Case& c : {Case{"1024", "1024", true, "1 "}, Case{"1024", "3072", true, "3 "},
                        Case{"3072", "2048", false, "2 "}, Case{"3072", "10", false, "1 "}}) {
    SCOPED_TRACE(std::string(c.first) + " KB, then " + c.second);
    fs::remove(tree_.traceFile());
    scan({"-debug", "MID", "-maxlogsize", c.first});
    const std::string before = trace();

    EXPECT_EQ(scan({"-debug", "MID", "-maxlogsize", c.second}).status, 0);

    const std::string after = trace();
    EXPECT_EQ(occurrences(after, BEGINNING), c.kept ? 2u : 1u);
    EXPECT_EQ(after.substr(24, 2), c.limit);
    const size_t records = before.find(BEGINNING);
    if (c.kept) {
      EXPECT_THAT(after.substr(records),
                  StartsWith(before.substr(records, before.size() - records - CLOSED.size()) + BEGINNING));
    }
    EXPECT_EQ(occurrences(after, "END OF DATA"), 1u);
  }
  std::ofstream(tree_.traceFile()) << "no trace at all\n";
  EXPECT_EQ(scan({"-debug", "MID"}).status, 0);
  EXPECT_THAT(trace(), AllOf(StartsWith("NRV Trace   "), Not(HasSubstr("no trace at all"))));
}

TEST_F(TraceTest, AFileThatIsFullGoesOnAtItsBeginning) {
  for (int i = 0; i < 9000; ++i) fs::create_directory(data_.path() + "/directory" + std::to_string(i));

  const AgentStandIn agent(tree_);

  EXPECT_EQ(scan({"-debug", "MAX"}).status, 0);

  const std::string file = trace();
  EXPECT_THAT(file.size(), AllOf(Ge(1'000'000u), Le((1u << 20) + 40)));
  EXPECT_EQ(occurrences(file, "\nContinued at beginning of file\n\n"), 1u);
  const size_t end = std::stoul(file.substr(12, 12));
  EXPECT_EQ(file.substr(end, CLOSED.size()), CLOSED);
  EXPECT_THAT(file.substr(end - 60, 60), EndsWith("Exit: startScan(...)\n"));
  EXPECT_EQ(occurrences(file, BEGINNING), 0u) << "the oldest records go first";
}

TEST_F(TraceTest, AFullDiskTurnsTheTraceOffAndTheJobGoesOn) {
  for (int i = 0; i < 1500; ++i) fs::create_directory(data_.path() + "/directory" + std::to_string(i));
  const auto logs = MountedFileSystem::tmpfs(tree_ / "log", "size=64k");
  const AgentStandIn agent(tree_);

  const Outcome outcome = scan({"-debug", "MAX"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "Unable to write to trace file " + tree_.traceFile() + ". Tracing disabled.\n");
  EXPECT_EQ(summed(tree_, "sumDirectoryCount"), 1501);
  EXPECT_EQ(agent.value("-exitCode"), "0");
  EXPECT_FALSE(InstallTree::exists(tree_ / "log/vox_scan_res.lck"));
  EXPECT_FALSE(InstallTree::exists(tree_ / "log/vox_scan_res.tmp"));
  EXPECT_THAT(content(tree_ / "log/vox_scan_res"), StartsWith("DO NOT EDIT THIS FILE MANUALLY\n"));

  fs::remove(tree_.traceFile());
  EXPECT_EQ(scan({}).status, 0) << "a lock that couldn't be given back is stale";
  EXPECT_EQ(content(tree_ / "log/vox_scan_res"), "DO NOT EDIT THIS FILE MANUALLY\n");
}

TEST_F(TraceTest, AResultThatDoesNotFitIsDeleted) {
  for (int i = 0; i < 200; ++i) fs::create_directory(data_.path() + "/directory" + std::to_string(i));
  const auto output = MountedFileSystem::tmpfs(tree_ / "output", "size=24k");
  const AgentStandIn agent(tree_);
  Definition definition = summaryOf({data_.path()});
  definition.add(statistic(6, 1, "directories").set("sdLargestDirectories", 1000));
  tree_.define(definition.text());

  EXPECT_EQ(tree_.scan().status, 9);

  EXPECT_FALSE(InstallTree::exists(tree_.resultFile()));
  EXPECT_FALSE(InstallTree::exists(tree_.definitionFile()));
  EXPECT_EQ(agent.value("-exitCode"), "9");
  EXPECT_EQ(tree_.logLines().back(), "GEN0101E Unable to write the result \"" + tree_.resultFile() +
                                         "\": No space left on device. The job ends without a result.");
}

}  // namespace
}  // namespace agent::test
