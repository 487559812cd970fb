#include "Scan/selection/Selection.h"

#include <gmock/gmock.h>
#include <regex.h>

#include "Scan/selection/SelectNode.h"
#include "selection/SelectionTestSupport.h"

namespace agent {
namespace {

using ::testing::StartsWith;

/// Error records: position and code, the innermost first.
using Records = std::vector<std::pair<size_t, char>>;

std::string records(const Records& list) {
  std::string bytes;
  for (const auto& [position, code] : list) {
    bytes += {static_cast<char>(position & 0xFF), static_cast<char>(position >> 8), code};
  }
  return bytes;
}

std::string counted(const std::string& text) {
  return text + static_cast<char>(text.size() & 0xFF) + static_cast<char>(text.size() >> 8);
}

TEST(SelectionErrorsTest, RecordsReadFromTheInnermostCauseOutwards) {
  for (const auto& [expression, expected] : std::vector<std::pair<std::string, Records>>{
           // Operators.
           {"x", {{0, 'A'}}},
           {BYTES("&=T\0\0\0\1") + "?", {{7, 'A'}, {0, 2}}},
           {BYTES("|=T\0\0\0\1") + "!", {{8, '@'}, {7, 5}, {0, 4}}},
           // Attribute masks.
           {"&P123", {{2, 'E'}, {0, 7}}},
           // Match terms.
           {"=", {{1, 'J'}, {0, 16}}},
           {"=Fabc", {{2, 'F'}, {0, 10}}},
           {BYTES("=G%/abc\0"), {{2, 'H'}, {0, 8}}},
           // Lists.
           {"(", {{1, 'J'}, {0, 14}}},
           {BYTES("(Fa\0;"), {{4, 'K'}, {0, 14}}},
           {BYTES("(Ua\0,/b\0)"), {{5, 'H'}, {0, 8}}},
           // Compare terms.
           {"<", {{1, 'J'}, {0, 17}}},
           {"<=T", {{2, 'C'}, {0, 17}}},
           {"<M+123", {{2, 'E'}, {0, 12}}},
           {"<s", {{2, 'I'}, {0, 13}}},
           {BYTES("<=S1\5"), {{3, 'I'}, {0, 13}}},
           // Between.
           {"[", {{1, 'J'}, {0, 15}}},
           {BYTES("[s1\0"), {{4, 'I'}, {0, 13}}},
           {"[A@1234?", {{7, 'E'}, {0, 12}}},
           // A pattern for everything leaves the position in front of itself, so it has to stand last.
           {BYTES("&=F%\0=T\0\0\0\1"), {{3, 'A'}, {0, 2}}},
           {BYTES("(F%\0)"), {{2, 'K'}, {0, 14}}},
           // Only patterns of another platform: the list is left without any.
           {BYTES("(FC:\\x\0,\\\\srv\\y\0)"), {{2, 'F'}, {0, 10}}},
       }) {
    EXPECT_EQ(errorsOf(expression), records(expected)) << ::testing::PrintToString(expression);
  }
}

TEST(SelectionErrorsTest, ARefusedPatternIsKeptInFrontOfItsRecord) {
  regex_t regex;
  const int code = regcomp(&regex, "^[ab$", REG_NOSUB);
  ASSERT_NE(code, 0);
  char words[100];
  regerror(code, &regex, words, sizeof words);

  EXPECT_EQ(errorsOf(BYTES("!=F[ab\0")),
            counted(words) + counted("^[ab$") + records({{3, 'B'}, {1, 10}, {0, 5}}));
  EXPECT_EQ(errorsOf(BYTES("(Ux\0,[ab\0)")), counted(words) + counted("^[ab$") + records({{5, 'B'}, {0, 8}}));
}

TEST(SelectionErrorsTest, LengthsAndPositionsFitTheirTwoBytes) {
  const std::string errors = errorsOf("=F" + std::string(70'000, 'a') + "[" + BYTES("\0"));
  // From the back: the term's code, the pattern's, the length of the expression.
  ASSERT_GT(errors.size(), 0xFFFFU);
  EXPECT_EQ(errors.substr(errors.size() - 8), "\xFF\xFF" + records({{2, 'B'}, {0, 10}}));
  EXPECT_EQ(errors[errors.size() - 9 - 0xFFFE], '^');
  std::string items = "(U";
  for (int i = 0; i < 40'000; ++i) items += BYTES("a\0,");
  EXPECT_EQ(errorsOf(items + "a"), records({{(2 + 120'000) & 0xFFFF, 'F'}, {0, 8}}));
}

TEST(SelectionNestingTest, TenThousandOperatorsDeepCompilesAndOneMoreDoesNot) {
  const std::string isFile = BYTES("=T\0\0\0\1");
  Entry file("/", {}, "f", {.type = 1});

  for (const char* const operators : {"!", "&", "|"}) {
    std::string deep, rights;
    for (size_t i = 0; i < Selection::MAX_NESTING; ++i) {
      deep += operators;
      if (*operators != '!') rights += isFile;
    }
    SelectTree root = compiled(deep + isFile + rights);
    EXPECT_TRUE(selects(*root, file.info()));
    root.reset();

    const std::string errors = errorsOf(operators + deep + isFile + rights + isFile);
    EXPECT_EQ(errors.substr(0, 6), records({{10'001, 'L'}, {10'000, errors[5]}}));
    EXPECT_EQ(errors.size(), 3 * (10'001U + 1));
  }
  // A million operators are as little trouble, and nor is what was built until the error.
  EXPECT_THAT(errorsOf(std::string(1'000'000, '!')), StartsWith(records({{10'001, 'L'}})));
  std::string broad(9'999, '&');
  for (int i = 0; i < 9'999; ++i) broad += isFile;
  EXPECT_THAT(errorsOf(broad), StartsWith(records({{9'999 + 6 * 9'999, '@'}})));
}

TEST(SelectionNestingTest, AListOfAnyLengthIsNotNested) {
  std::string list = "(U";
  for (int i = 0; i < 200'000; ++i) list += "user" + std::to_string(i) + BYTES("\0,");
  list += BYTES("last\0)");
  const SelectTree root = compiled(list);
  EXPECT_TRUE(selects(*root, Entry("/", {}, "f", {.user = "last"}).info()));
  EXPECT_FALSE(selects(*root, Entry("/", {}, "f", {.user = "user"}).info()));
}

TEST(SelectionFilterTest, DropsPatternsOfAnotherPlatformFromLists) {
  for (const auto& [expression, expected] : std::vector<std::pair<std::string, std::string>>{
           {BYTES("(FC:\\x\0)"), "(F)"},
           {BYTES("(F%/a\\b\0,c\\d\0)"), BYTES("(F%/a\\b\0)")},  // a floating one stays
           {BYTES("(Fa\0,,b\0,)"), BYTES("(Fa\0,b\0)")},         // empty ones vanish
           {BYTES("|(FC:\\x\0,a\0)(FD:\\y\0,b\0)"), BYTES("|(Fa\0)(Fb\0)")},
           {BYTES("=FC:\\x\0"), BYTES("=FC:\\x\0")},      // not a list
           {BYTES("(UC:\\x\0)"), BYTES("(UC:\\x\0)")},    // not of paths
           {BYTES("(Fa)\\,b\0)"), BYTES("(Fa)\\,b\0)")},  // a plain search for the end
           {BYTES("(Fa\\"), BYTES("(Fa\\")},              // without an end
           {"", ""},
       }) {
    std::string edited = expression;
    Selection::FilterOutOtherOSPath(edited, 0);
    EXPECT_EQ(edited, expected) << ::testing::PrintToString(expression);
  }
  std::string edited = BYTES("(FC:\\x\0)(FC:\\x\0)");
  Selection::FilterOutOtherOSPath(edited, 1);
  EXPECT_EQ(edited, BYTES("(FC:\\x\0)(F)"));
}

}  // namespace
}  // namespace agent
