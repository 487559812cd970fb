#include "Common/ParserAPI.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "Common/VOXParserException.h"
#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using testing::ElementsAre;

class ParserAPITest : public testing::Test {
 protected:
  ParserAPI parser(const std::string& text) { return ParserAPI(directory_.file("scan.dat", text)); }

  /// A node and all below it as text: name(rows)[children].
  static std::string outline(ParserAPI& pa, ParserAPI::Entity entity) {
    std::string text = entity.name + "(" + std::to_string(pa.getEntityData(entity).size()) + ")";
    std::string below;
    for (const ParserAPI::Entity& child : pa.getEntityChildren(entity)) below += outline(pa, child);
    return text + (below.empty() ? "" : "[" + below + "]");
  }

  TemporaryDirectory directory_;
};

TEST_F(ParserAPITest, SplitsARowByTheRulesOfTheFormat) {
  const std::pair<std::string, Row> cases[] = {
      {"", {}},
      {"a", {"a"}},
      {"a b , c", {"a b ", " c"}},  // blanks belong to the cell
      {"a,,b,", {"a", "b"}},        // empty cells are dropped
      {",,", {}},
      {"null,a", {"", "a"}},                // null is an empty cell
      {"\"null\",Null", {"null", "Null"}},  // in quotes, or spelled otherwise, it is text
      {"\"a,b\",c", {"a,b", "c"}},
      {"\"say \"\"hi\"\"\"", {"say \"hi\""}},
      {"\"\"", {""}},  // quotes with nothing inside are a cell
      {"\"\"\"\"", {"\""}},
      {"\"", {"\""}},  // an unclosed quote stays
      {"\"a,b", {"\"a,b"}},
      {"x\"a,b\"y,c", {"x\"a,b\"y", "c"}},  // quotes inside a cell hide commas as well
      {std::string("a\0b,c", 5), {std::string("a\0b", 3), "c"}},
  };
  for (const auto& [line, row] : cases) EXPECT_EQ(ParserAPI::splitLine(line), row) << line;
}

TEST_F(ParserAPITest, NodesNestAndEqualNamesNestInEachOther) {
  ParserAPI pa = parser(
      "[Header]\n[/Header]\n"
      "[Tree]\n1\n2\n"
      "[Tree]\n3\n[Leaf]\n4\n[/Leaf]\n[/Tree]\n"
      "[Leaf]\n[/Leaf]\n"
      "[/Tree]\n"
      "[Other]\n[/Other]\n");
  auto tree = pa.findNextEntity({});
  ASSERT_TRUE(tree);
  EXPECT_EQ(outline(pa, *tree), "Tree(2)[Tree(1)[Leaf(1)]Leaf(0)]");
  EXPECT_EQ(pa.lineNumber(*tree), 3);
  EXPECT_EQ(pa.findNextEntity(tree)->name, "Other");
}

TEST_F(ParserAPITest, TheHeaderTableKeepsTheFirstRowOfAClass) {
  ParserAPI pa = parser(
      "[Header]\n"
      "[Twice]\nfirst\nsecond\n"
      "[Hidden]\n\nrealRow\n"
      "[Bare]\n"
      "[Tagged,q]\nrow\n"
      "[/Header]\n");
  EXPECT_THAT(pa.getEntityHeader({"Twice", 0, 0, ""}).names(), ElementsAre("first"));
  EXPECT_TRUE(pa.getEntityHeader({"Hidden", 0, 0, ""}).names().empty());  // an empty line is a row
  EXPECT_THAT(pa.getEntityHeader({"Tagged,q", 0, 0, ""}).names(), ElementsAre("row"));
  for (const char* name : {"Bare", "Missing"}) {
    EXPECT_THROW(pa.getEntityHeader({name, 0, 0, ""}), VOXParserException);
  }
}

TEST_F(ParserAPITest, FilesThatEndEarlyGiveWhatTheyHold) {
  const std::string header = "[Header]\n[/Header]\n";
  const std::tuple<const char*, std::string, const char*> cases[] = {
      // What the file holds, and the first node's outline; empty: there is none.
      {"no header at all", "[AgentScan]\n1\n", ""},  // everything counts as header
      {"a header without an end", "[Header]\n[AgentScan]\nasJobName", ""},
      {"an open tag alone", header + "[AgentScan]", "AgentScan(0)"},
      {"a row without a newline", header + "[AgentScan]\n1\n2", "AgentScan(2)"},
      {"an open child", header + "[AgentScan]\n1\n[Filesystem]\n2", "AgentScan(1)[Filesystem(1)]"},
      {"half a close tag", header + "[AgentScan]\n1\n[/Agent", "AgentScan(2)"},
      {"carriage returns", "[Header]\r\n[/Header]\r\n[AgentScan]\r\n1\r\n[/AgentScan]\r\n", "AgentScan(1)"},
      {"a stray close tag", header + "[AgentScan]\n[/Other]\n[Child]\n[/Child]\n[/AgentScan]\n",
       "AgentScan(0)"},
  };
  for (const auto& [comment, text, expected] : cases) {
    ParserAPI pa = parser(text);
    const auto first = pa.findNextEntity({});
    EXPECT_EQ(first ? outline(pa, *first) : "", expected) << comment;
  }
}

TEST_F(ParserAPITest, AReadThatFailsIsToldWithItsLineAndIsNotTheEnd) {
  std::string text = "[Header]\n[/Header]\n[AgentScan]\n";
  for (int row = 0; row < 40'000; ++row) text += "row\n";
  ParserAPI pa = parser(text);
  auto scan = pa.findNextEntity({});
  RefusedCalls calls;
  // Two whole buffers of the reader can be read; three lines of 31 bytes stand in front of the rows.
  calls.replace<&Calls::pread>([](int descriptor, void* buffer, size_t size, off_t position) {
    errno = EIO;
    return position < 131'072 ? ::pread(descriptor, buffer, size, position) : ssize_t{-1};
  });
  try {
    pa.getEntityData(*scan);
    FAIL() << "no exception";
  } catch (const VOXParserException& failure) {
    EXPECT_EQ(failure.getLine(), 3 + (131'072 - 31) / 4 + 1);
  }
  EXPECT_EQ(pa.lineNumber(*scan), 3);
}

TEST_F(ParserAPITest, CountsClosedNodesWhenAskedTo) {
  const std::string file = directory_.file("scan.dat",
                                           "[Header]\n[AgentScan]\nasJobName\n[/Header]\n"
                                           "[AgentScan]\n[Filesystem]\n[/Filesystem]\n[/AgentScan]\n"
                                           "[Other]\n[/Other]\n[Open]\n");
  ParserAPI pa(file, true);
  EXPECT_THAT(pa.entityTable(), ElementsAre(testing::Pair(0, "AgentScan"), testing::Pair(1, "Other")));
  EXPECT_EQ(pa.findNextEntity({})->name, "AgentScan");  // stands behind the header block
}

}  // namespace
}  // namespace agent::test
