#include "Common/TagPattern.h"

#include <gtest/gtest.h>

#include <string>

namespace agent::test {
namespace {

// Every matcher there is gives these answers.
TEST(TagPatternTest, TellsTagsFromOtherLines) {
  const TagPattern open("(^\\s*\\[){1}([a-zA-Z0-9]+,?[a-zA-Z0-9]+)(\\]$){1}");
  const TagPattern close("(^\\s*\\[/){1}([a-zA-Z0-9]+)(\\]$){1}");
  const struct {
    std::string line;
    std::string open;  // what the open tag names; empty: the line is none
    std::string close;
  } cases[] = {
      {"[AgentScan]", "AgentScan", ""},
      {"[/AgentScan]", "", "AgentScan"},
      {"[SFile,owner]", "SFile,owner", ""},
      {"[a,b]", "a,b", ""},
      {"[/a]", "", "a"},              // an open tag has two characters at least
      {" \t\v\f\r\n[ab]", "ab", ""},  // any blank in front, none behind
      {"[" + std::string(100'000, 'x') + "]", std::string(100'000, 'x'), ""},
  };
  for (const auto& testCase : cases) {
    EXPECT_EQ(open.match(testCase.line).value_or(""), testCase.open) << testCase.line;
    EXPECT_EQ(close.match(testCase.line).value_or(""), testCase.close) << testCase.line;
  }
  // Letters and blanks are ASCII's, and the end of a line is its end even where it is a line feed.
  for (const std::string line :
       {"", "[a]", "[,ab]", "[ab,]", "[a,b,c]", "[/a,b]", "[ ab]", "x[ab]", "[ab]x", "[ab] ", "[ab]\n",
        "[/ab]\n", "[ab][cd]", "[ab]\n[cd]", "[\xe4z]", "\xa0[ab]", "[\xc3\xa4z]"}) {
    EXPECT_FALSE(open.match(line) || close.match(line)) << line;
  }
  EXPECT_FALSE(open.match({"[a\0b]", 5}) || open.match({"[ab]\0", 5}));
}

}  // namespace
}  // namespace agent::test
