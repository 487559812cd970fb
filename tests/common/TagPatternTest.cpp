#include "Common/TagPattern.h"

#include <gtest/gtest.h>

#include <string>

namespace agent::test {

// Every matcher there is gives these answers.
TEST(TagPatternTest, TellsTagsFromOtherLines) {
  const TagPattern open("(^\\s*\\[){1}([a-zA-Z0-9]+,?[a-zA-Z0-9]+)(\\]$){1}");
  const TagPattern close("(^\\s*\\[/){1}([a-zA-Z0-9]+)(\\]$){1}");
  const std::tuple<std::string, std::string, std::string> cases[] = {
      // The line, what an open tag names in it, and a close tag; empty: it is none.
      {"[AgentScan]", "AgentScan", ""},
      {"[/AgentScan]", "", "AgentScan"},
      {"[SFile,owner]", "SFile,owner", ""},
      {"[a,b]", "a,b", ""},
      {"[/a]", "", "a"},              // an open tag has two characters at least
      {" \t\v\f\r\n[ab]", "ab", ""},  // any blank in front, none behind
      {"[" + std::string(100'000, 'x') + "]", std::string(100'000, 'x'), ""},
  };
  for (const auto& [line, opened, closed] : cases) {
    EXPECT_EQ(open.match(line).value_or(""), opened) << line;
    EXPECT_EQ(close.match(line).value_or(""), closed) << line;
  }
  // Letters and blanks are ASCII's, and the end of a line is its end even where it is a line feed.
  for (const std::string line :
       {"", "[a]", "[,ab]", "[ab,]", "[a,b,c]", "[/a,b]", "[ ab]", "x[ab]", "[ab]x", "[ab] ", "[ab]\n",
        "[/ab]\n", "[ab][cd]", "[ab]\n[cd]", "[\xe4z]", "\xa0[ab]", "[\xc3\xa4z]"}) {
    EXPECT_FALSE(open.match(line) || close.match(line)) << line;
  }
  EXPECT_FALSE(open.match({"[a\0b]", 5}) || open.match({"[ab]\0", 5}));
}

}  // namespace agent::test
