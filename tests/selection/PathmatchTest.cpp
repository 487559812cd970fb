#include "Scan/selection/pathmatch.h"

#include <gtest/gtest.h>

#include "Scan/selection/PatternMatcher.h"

namespace agent {
namespace {

// Patterns with their regular expression and anchor.
void expectTranslations(const std::vector<std::tuple<const char*, const char*, int32_t>>& table) {
  for (const auto& [pattern, regex, expected] : table) {
    int32_t anchor = 99;
    EXPECT_EQ(pathmatch(pattern).translate(anchor), regex) << pattern;
    EXPECT_EQ(anchor, expected) << pattern;
  }
}

TEST(PathmatchTest, FindsTheComponentsAndTheAnchor) {
  expectTranslations({{"/usr/*/bin", "^/usr/[^/]*/bin$", 0},
                      {"/usr/%/", "^/usr\\(/[^/]*\\)*$", 0},
                      {"/a/%/b", "^/a/\\([^/]*/\\)*b$", 0},
                      {"/tmp/file?.t[0-9]", "^/tmp/file[^/]\\.t[0-9]$", 0},
                      {"%/*.log", "^[^/]*\\.log$", -1},
                      {"%/a/b", "^a/b$", -2},
                      {"%/a/%/b", "^\\([^/]*/\\)*a/\\([^/]*/\\)*b$", 1},
                      {"%/a/%", "^\\([^/]*/\\)*a\\(/[^/]*\\)*$", 1},
                      // What stands in front of a last "%" loses its last byte, whatever that is: two in a
                      // row select nothing.
                      {"a/%/%", "^a/\\([^/]*/\\)\\(/[^/]*\\)*$", 1},
                      {"%/%", "^\\([^/]*/\\)*\\(/[^/]*\\)*$", 1},
                      {"/", "^$", 0},
                      // The slashes of other platforms.
                      {"C:\\temp\\x", "^C:/temp/x$", 1},
                      // "%" is special as a whole component only.
                      {"/a/&%/b", "^/a/%/b$", 0}});
}

TEST(PathmatchTest, TakesEscapedBytesForThemselves) {
  expectTranslations({{"a&*b", "^a\\*b$", 1},
                      {"%/a&/b", "^a/b$", -2},
                      {"a&", "^a$", 1},       // escapes the slash that ends every component
                      {"a&\\b", "^a/b$", 1},  // a backslash is a slash before anything else happens
                      {"a&&b", "^a&b$", 1},
                      {"a&.&$&^&[&]", "^a\\.\\$\\^\\[]$", 1},
                      // Pairs that the platform's matcher would give a meaning of its own.
                      {"&+&?&(&)&{&}&|&1&w&<&b", "^+?(){}|1w<b$", 1},
                      {"a+(b)|{c}]", "^a+(b)|{c}]$", 1},
                      {"\xE9\n*", "^\xE9\n[^/]*$", 1}});
}

TEST(PathmatchTest, KeepsSlashesOutOfSets) {
  expectTranslations({{"[!a]*", "^[^a/][^/]*$", 1},
                      {"[a/b]x", "^[ab]x$", 1},
                      {"[+-9]x", "^[+-.0-9]x$", 1},
                      {"[a-]", "^[a-]$", 1},
                      {"[!a/]", "^[^a/]$", 1},    // names the slash itself
                      {"[!+-9]", "^[^+-9]$", 1},  // its range does
                      {"[]a]", "^[]a]$", 1},      // an end in first place is a member
                      {"[!]a]", "^[^]a/]$", 1},
                      // Ends of ranges at the slash and beside it.
                      {"[/-9]", "^[0-9]$", 1},
                      // A hyphen right behind a range is passed over.
                      {"[a-c-e]", "^[a-ce]$", 1},
                      // An escaped byte is a member whatever it is, and none of them becomes anything else
                      // where it stands.
                      {"[a&]b]", "^[]ab]$", 1},
                      {"[&^a]", "^[a^]$", 1},
                      {"[&^]", "^\\^$", 1},
                      {"[a&-z]", "^[az-]$", 1},
                      {"[a&--9]", "^[a.0-9-]$", 1},
                      // Members are plain bytes: there are no classes.
                      {"[[:alpha:]]", "^[:alpha:[]]$", 1},
                      {"[!A-[.x]", "^[^A-Z.x[/]$", 1}});
}

TEST(PathmatchTest, AnEmptyResultMeansEverything) {
  for (const char* const pattern : {"", "%", "%/", "/%", "/%/", "\\%\\"}) {
    int32_t anchor = 99;
    EXPECT_EQ(pathmatch(pattern).translate(anchor), "") << pattern;
    EXPECT_EQ(anchor, 99);
  }
}

TEST(PathmatchTest, GivesWhatTheMatcherRefuses) {
  for (const auto& [pattern, regex] : {std::pair("[abc", "^[abc$"),
                                       {"[!]", "^[^]$"},
                                       {"[a-", "^[a-$"},
                                       {"[&]a", "^[a$"},
                                       {"[a&", "^[a\\$"},
                                       {"x[/]a]", "^x[]$"},  // nothing is left of the set
                                       {"[/-/]", "^[]$"},
                                       {"[.-0]", "^[]$"},
                                       {"[a-&]]", "^[z-a]$"},
                                       {"[!0-/]", "^[z-a]$"}}) {
    int32_t anchor = 0;
    EXPECT_EQ(pathmatch(pattern).translate(anchor), regex) << pattern;
    std::string error;
    EXPECT_EQ(PatternMatcher::compile(regex, error), nullptr) << pattern;
    EXPECT_NE(error, "") << pattern;
  }
}

}  // namespace
}  // namespace agent
