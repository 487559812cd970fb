#include "Scan/selection/pathmatch.h"

#include <gtest/gtest.h>

#include "Scan/selection/PatternMatcher.h"

namespace agent {
namespace {

struct Translated {
  const char* pattern;
  const char* regex;
  int32_t anchor;
};

class PathmatchTest : public ::testing::TestWithParam<Translated> {};

TEST_P(PathmatchTest, GivesTheExpressionAndTheAnchor) {
  int32_t anchor = 99;
  EXPECT_EQ(pathmatch(GetParam().pattern).translate(anchor), GetParam().regex) << GetParam().pattern;
  EXPECT_EQ(anchor, GetParam().anchor) << GetParam().pattern;
}

INSTANTIATE_TEST_SUITE_P(
    Paths, PathmatchTest,
    ::testing::Values(
        Translated{"/usr/*/bin", "^/usr/[^/]*/bin$", 0}, Translated{"/usr/%", "^/usr\\(/[^/]*\\)*$", 0},
        Translated{"/usr/%/", "^/usr\\(/[^/]*\\)*$", 0}, Translated{"/a/%/b", "^/a/\\([^/]*/\\)*b$", 0},
        Translated{"/tmp/file?.t[0-9]", "^/tmp/file[^/]\\.t[0-9]$", 0},
        Translated{"src/*.c", "^src/[^/]*\\.c$", 1}, Translated{"x/%/", "^x\\(/[^/]*\\)*$", 1},
        Translated{"%/*.log", "^[^/]*\\.log$", -1}, Translated{"%/a/b", "^a/b$", -2},
        Translated{"/%/x", "^x$", -1}, Translated{"%/a/%/b", "^\\([^/]*/\\)*a/\\([^/]*/\\)*b$", 1},
        Translated{"%/a/%", "^\\([^/]*/\\)*a\\(/[^/]*\\)*$",
                   1},  // What stands in front of a last "%" loses its last byte, whatever that is: two in a
                        // row select nothing.
        Translated{"a/%/%", "^a/\\([^/]*/\\)\\(/[^/]*\\)*$", 1},
        Translated{"%/%", "^\\([^/]*/\\)*\\(/[^/]*\\)*$", 1}, Translated{"/", "^$", 0},
        Translated{"/usr/", "^/usr$", 0}, Translated{"//", "^/$", 0},
        // The slashes of other platforms.
        Translated{"C:\\temp\\x", "^C:/temp/x$", 1}, Translated{"\\usr\\bin", "^/usr/bin$", 0},
        // "%" is special as a whole component only.
        Translated{"%x/y", "^%x/y$", 1}, Translated{"/%x", "^/%x$", 0}, Translated{"x%", "^x%$", 1},
        Translated{"/a/&%/b", "^/a/%/b$", 0}, Translated{"&%/b", "^%/b$", 1}));

INSTANTIATE_TEST_SUITE_P(
    Escapes, PathmatchTest,
    ::testing::Values(Translated{"a&*b", "^a\\*b$", 1}, Translated{"a&/b/c", "^a/b/c$", 1},
                      Translated{"%/a&/b", "^a/b$", -2},
                      Translated{"a&", "^a$", 1},       // escapes the slash that ends every component
                      Translated{"a&\\b", "^a/b$", 1},  // a backslash is a slash before anything else happens
                      Translated{"a&&b", "^a&b$", 1}, Translated{"a&.&$&^&[&]", "^a\\.\\$\\^\\[]$", 1},
                      // Pairs that the platform's matcher would give a meaning of its own.
                      Translated{"&+&?&(&)&{&}&|&1&w&<&b", "^+?(){}|1w<b$", 1},
                      Translated{"a.b$c^d", "^a\\.b\\$c\\^d$", 1},
                      Translated{"a+(b)|{c}]", "^a+(b)|{c}]$", 1},
                      Translated{"\xE9\n*", "^\xE9\n[^/]*$", 1}));

INSTANTIATE_TEST_SUITE_P(
    Brackets, PathmatchTest,
    ::testing::Values(
        Translated{"[!a]*", "^[^a/][^/]*$", 1}, Translated{"[^a]", "^[^a/]$", 1},
        Translated{"[a/b]x", "^[ab]x$", 1}, Translated{"[a&/b]x", "^[ab]x$", 1},
        Translated{"[+-9]x", "^[+-.0-9]x$", 1}, Translated{"[/a]", "^[a]$", 1},
        Translated{"[a-]", "^[a-]$", 1}, Translated{"[-a]", "^[-a]$", 1}, Translated{"[!a-]", "^[^a/-]$", 1},
        Translated{"[!a/]", "^[^a/]$", 1},    // names the slash itself
        Translated{"[!+-9]", "^[^+-9]$", 1},  // its range does
        Translated{"[]a]", "^[]a]$", 1},      // an end in first place is a member
        Translated{"[!]a]", "^[^]a/]$", 1},
        // Ends of ranges at the slash and beside it.
        Translated{"[/-9]", "^[0-9]$", 1}, Translated{"[+-/]", "^[+-.]$", 1}, Translated{"[.-/]", "^[.]$", 1},
        Translated{"[/-0]", "^[0]$", 1}, Translated{"[.-9]", "^[0-9]$", 1}, Translated{"[+-0]", "^[+-.]$", 1},
        // A hyphen right behind a range is passed over.
        Translated{"[a-c-e]", "^[a-ce]$", 1}, Translated{"[a-c-]", "^[a-c-]$", 1},
        // An escaped byte is a member whatever it is, and none of them becomes anything else where it stands.
        Translated{"[a&]b]", "^[]ab]$", 1}, Translated{"[&^a]", "^[a^]$", 1}, Translated{"[&^]", "^\\^$", 1},
        Translated{"[&^-]", "^[-^]$", 1}, Translated{"[&!a]", "^[!a]$", 1},
        Translated{"[a&-z]", "^[az-]$", 1}, Translated{"[&a-&c]", "^[a-c]$", 1},
        Translated{"[a&&b]", "^[a&b]$", 1}, Translated{"[A-&]]", "^[]A-\\]$", 1},
        Translated{"[&]-a]", "^[]^-a]$", 1}, Translated{"[a&--9]", "^[a.0-9-]$", 1},
        // Members are plain bytes: there are no classes.
        Translated{"[[:a]", "^[:a[]$", 1}, Translated{"[[:alpha:]]", "^[:alpha:[]]$", 1},
        Translated{"[!A-[.x]", "^[^A-Z.x[/]$", 1}));

TEST(PathmatchEverythingTest, AnEmptyResultMeansEverything) {
  for (const char* const pattern : {"", "%", "%/", "/%", "/%/", "\\%\\"}) {
    int32_t anchor = 99;
    EXPECT_EQ(pathmatch(pattern).translate(anchor), "") << pattern;
    EXPECT_EQ(anchor, 99);
  }
}

TEST(PathmatchMalformedTest, GivesWhatTheMatcherRefuses) {
  struct Malformed {
    const char* pattern;
    const char* regex;
  };
  for (const auto& [pattern, regex] : {
           Malformed{"[abc", "^[abc$"},
           Malformed{"[!abc", "^[^abc$"},
           Malformed{"a/[b/c", "^a/[b/c$"},
           Malformed{"[", "^[$"},
           Malformed{"[]", "^[]$"},
           Malformed{"[!]", "^[^]$"},
           Malformed{"[a-", "^[a-$"},
           Malformed{"[&]a", "^[a$"},
           Malformed{"[a&", "^[a\\$"},
           Malformed{"x[/]a]", "^x[]$"},  // nothing is left of the set
           Malformed{"[/-/]", "^[]$"},
           Malformed{"[.-0]", "^[]$"},
           Malformed{"[9-0]", "^[z-a]$"},
           Malformed{"[a-&]]", "^[z-a]$"},
           Malformed{"[!0-/]", "^[z-a]$"},
       }) {
    int32_t anchor = 0;
    EXPECT_EQ(pathmatch(pattern).translate(anchor), regex) << pattern;
    std::string error;
    EXPECT_EQ(PatternMatcher::compile(regex, error), nullptr) << pattern;
    EXPECT_NE(error, "") << pattern;
  }
}

TEST(PathmatchHelpersTest, AnAbsolutePatternBeginsWithASlash) {
  EXPECT_TRUE(pathmatch("/a").isAbsolute());
  EXPECT_TRUE(pathmatch("\\a").isAbsolute());
  EXPECT_FALSE(pathmatch("a/").isAbsolute());
  EXPECT_FALSE(pathmatch("").isAbsolute());
  std::string text = std::string("a\0b", 3);
  pathmatch::replaceByte(text, 'a', 'b');
  EXPECT_EQ(text, std::string("b\0b", 3));
}

}  // namespace
}  // namespace agent
