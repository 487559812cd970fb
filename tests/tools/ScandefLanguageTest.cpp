#include "definition/ScandefLanguage.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "Scan/selection/PatternMatcher.h"
#include "selection/SelectionTestSupport.h"

namespace agent::scandef {
namespace {

using Words = std::pair<std::string, std::string>;

std::string time(char sign, int64_t seconds) {
  return sign + be32(static_cast<uint32_t>(seconds));
}

// What the job's comparison of a size can't see.
const std::string BEYOND = BYTES("|<s0\0![S0\0") + "4\3";

TEST(ScandefLanguageTest, EverySpellingThatIsTheOnlyOneGoesThereAndBack) {
  for (const auto& [text, expression] : std::vector<Words>{
           {"everything", ""},
           {"nothing", "&P" + be32(0)},
           // Types.
           {"type = file", "=T" + be32(1)},
           {"type = (file, directory, device)", "(T" + be32(1) + "," + be32(3) + "," + be32(6) + ")"},
           // Paths.
           {"name like ('/tmp/%', '%/core', 'x?')", BYTES("(F/tmp/%\0,%/core\0,x?\0)")},
           {"name like 'it''s a \\x01 caf\xC3\xA9 caf\\xE9 \\xE2\\x80\\x8B'",
            BYTES("=Fit's a \1 caf\xC3\xA9 caf\xE9 \xE2\x80\x8B\0")},
           {"name like 'C:\\\\temp\\\\*'", BYTES("=FC:\\temp\\*\0")},
           // Names.
           {"owner not like ('a,b', 'c)')", BYTES("!(Ua,b\0,c)\0)")},
           {"group = 'staff'", BYTES("&>=Gstaff\0<=Gstaff\0")},
           {"owner = '" + std::string(32, 'x') + "'",
            "&>=U" + std::string(32, 'x') + BYTES("\0<=U") + std::string(32, 'x') + '\0'},
           {"owner like '" + std::string(28, 'x') + "[^]]?*&*x'",
            "=U" + std::string(28, 'x') + BYTES("[^]]?*&*x\0")},
           // Sizes.
           {"size >= 10M", "|>=sA\2" + BEYOND},
           {"not size <= 0", "!&!" + BEYOND + BYTES("<=s0\0")},
           {"size in [1K, 2147483647)", "&!" + BEYOND +
                                            BYTES("[s1\1"
                                                  "7FFFFFFF\0")},
           {"size32 < 0 or not allocated in [0, 4G)", BEYOND},
           {"allocated != 512", BYTES("!&>=S200\0<=S200\0")},
           // Times.
           {"mtime < -90d", "<M" + time('+', -90 * 86'400)},
           {"mtime < 2024-05-01T12:30:15Z", "<M" + time('@', 1'714'566'615)},
           {"atime in [-90d, 2024-05-01)", "[A" + time('+', -90 * 86'400) + time('@', 1'714'521'600)},
           // Attributes.
           {"attributes any setgid+setuid", "&P" + be32(0x600000)},
           {"attributes all archive+orphan+blockdevice+executable+sticky+0x1", "=P" + be32(0x1E0021)},
           {"attributes all (sticky, executable+setuid)", "(P" + be32(0x100000) + "," + be32(0x480000) + ")"},
           // Operators.
           {"type = file and (orphan or sticky)",
            "&=T" + be32(1) + "|&P" + be32(0x20000) + "&P" + be32(0x100000)},
           {"orphan or everything", "|&P" + be32(0x20000) + "=P" + be32(0)},
       }) {
    EXPECT_EQ(compileWhere(text), expression) << text;
    EXPECT_EQ(explainWhere(expression), text) << ::testing::PrintToString(expression);
    EXPECT_EQ(expressionOf(byteList(expression)), expression) << text;
  }
}

TEST(ScandefLanguageTest, OtherSpellingsMeanTheSame) {
  for (const auto& [text, canonical] : std::vector<std::pair<std::string, std::string>>{
           {"", "everything"},
           {"not everything", "nothing"},
           {"name not like ('/%/', 'x')", "nothing"},
           {"TYPE=File AND NOT Orphan", "type = file and not orphan"},
           {"not type=file", "type != file"},
           {"size\t<\n1k", "size < 1K"},
           {"mtime<now-2w", "mtime < -14d"},
           {"mtime>2024-05-01t12:30z", "mtime > 2024-05-01T12:30:00Z"},
           {"attributes all 0", "everything"},
           {"orphan and sticky and setgid and setuid", "orphan and sticky and setgid and setuid"},
           // The job searches lists for these bytes: such patterns stand one by one.
           {"name like ('a)', 'b,c', '%/d')", "name like 'a)' or name like 'b,c' or name like '%/d'"},
       }) {
    EXPECT_EQ(explainWhere(compileWhere(text)), canonical) << text;
    EXPECT_EQ(explainWhere(compileWhere(canonical)), canonical);
  }
}

TEST(ScandefLanguageTest, ATestOfTheSizeAnswersAsItReadsHoweverLargeTheFile) {
  const std::vector<int64_t> limits = {0, 1, 1000, 10 << 20, 1 << 30, INT32_MAX};
  std::vector<int64_t> sizes;
  for (const int shift : {0, 31, 32, 33, 40}) {
    for (const int64_t limit : limits) {
      for (const int64_t more : {int64_t{-1}, int64_t{0}, int64_t{1}, limit - 1, limit, limit + 1})
        sizes.push_back(std::max<int64_t>((int64_t{1} << shift) + more, 0));
    }
  }
  for (const auto& [text, answer] :
       std::vector<std::pair<std::string, std::function<bool(int64_t, int64_t)>>>{
           {"size > ", std::greater()},
           {"size >= ", std::greater_equal()},
           {"size < ", std::less()},
           {"size <= ", std::less_equal()},
           {"size = ", std::equal_to()},
           {"size != ", std::not_equal_to()},
           {"size in [1, ", [](int64_t size, int64_t limit) { return size >= 1 && size < limit; }}}) {
    for (const int64_t limit : limits) {
      const std::string test = text + std::to_string(limit) + (text.ends_with("[1, ") ? ")" : "");
      const SelectTree tree = compiled(compileWhere(test)), negated = compiled(compileWhere("not " + test));
      for (const int64_t size : sizes) {
        Entry entry("/", {}, "f", {.size = size, .blocks = (size + 4095) / 4096 * 8});
        EXPECT_EQ(selects(*tree, entry.info()), answer(size, limit)) << test << ": " << size;
        EXPECT_NE(selects(*negated, entry.info()), answer(size, limit)) << "not " << test << ": " << size;
      }
    }
  }
  // The rest is told.
  Caveats caveats;
  compileWhere("size32 > 1 or not size < 5 and allocated > 1", &caveats);
  EXPECT_THAT(caveats.sentences(),
              ::testing::ElementsAre(::testing::StartsWith("size: "), ::testing::StartsWith("allocated: ")));
}

TEST(ScandefLanguageTest, ServersExpressionsAreShownEvenWhereTheLanguageHasBetterIdeas) {
  std::string chain(5'000, '|');
  for (int i = 0; i <= 5'000; ++i) chain += "&P" + be32(0x20000);
  EXPECT_THAT(explainWhere(chain), ::testing::EndsWith("orphan or orphan"));
  for (const auto& [expression, text] : std::vector<Words>{
           {BYTES("=Gstaff\0"), "group like 'staff'"},
           {BYTES("<s3\3"), "size32 < 3G"},
           {"|>M" + time('@', 0) + BEYOND, "mtime > 1970-01-01 or size32 < 0 or not allocated in [0, 4G)"},
           {"[M" + time('@', 60) + time('@', 60), "mtime in [+1min, 1970-01-01T00:01:00Z)"},
           {BYTES("(F%/a\0,C:\\x\0)"), "name like '%/a'"},
           {BYTES("&=T\0\0\0\1=F%\0"), "type = file and everything"},
           {BYTES("=T\0\0\0\1whatever"), "type = file"},
       }) {
    EXPECT_EQ(explainWhere(expression), text) << ::testing::PrintToString(expression);
  }
}

// The platform's.
std::string wordsAbout(const std::string& regex) {
  std::string words;
  EXPECT_EQ(PatternMatcher::compile(regex, words), nullptr);
  return words;
}

using Refused = std::tuple<std::string, size_t, std::string>;  // what it is, the place and the reason

template <typename Operation>
std::string refusalOf(Operation operation) {
  try {
    operation();
  } catch (const LanguageError& error) {
    return std::to_string(error.position()) + ": " + error.what();
  }
  return "none";
}

TEST(ScandefLanguageTest, WhatCannotBeSaidIsRefusedWithItsPlaceAndTheReason) {
  for (
      const auto& [text, position, reason] : std::vector<Refused>{
          {"type = flie", 7, "expected a type: file, link, directory, fifo, socket, device or other"},
          {"type = file type = link", 12, "expected \"and\", \"or\" or the end"},
          {"name like 'x", 10, "the text has no closing quote"},
          {"name like 'a\\b'", 12, "a backslash is written \\\\, any other byte \\xHH"},
          {"name like 'a\\x00'", 15, "names don't hold the byte 0"},
          {"name like ('a', 'b[c')", 16, "the pattern is wrong: " + wordsAbout("^b[c$")},
          {"owner like 'a/b'", 11, "an owner's name is no path: the pattern can't be one"},
          {"owner like '" + std::string(29, 'x') + "[^]]?*&*x'", 11,
           "an owner's name is cut to its first 32 bytes before it is compared: write no more of it"},
          {"name like ('a', '/x/%/%')", 16, "nothing matches \"%/%\" at the end: write \"%\" once"},
          {"name like 'a//b'", 10, "nothing matches two slashes in a row: write one"},
          {"owner in ['a', 'b']", 18, "expected \")\": a range excludes its upper bound"},
          {"group like 's*'", 6, "the job can't match groups with patterns: compare them with = and <"},
          {"created < -1d", 0, "this platform keeps no time of creation: the test would never be true"},
          {"size >= 2G", 8, "a size is compared below 2G only: write \"allocated\" instead"},
          {"size < 10 m", 10, "a unit is joined to its number, as in 10M"},
          {"allocated < 1T", 12, "the space that an entry takes is compared below 1T only"},
          {"allocated = 1000", 12, "space is allocated in blocks of 512 bytes: nothing can be equal to this"},
          {"mtime < -90", 11, "expected a unit of time: s, min, h, d or w, but the text ends here"},
          {"mtime < 2024-02-30", 8, "there is no such day"},
          {"mtime < 2024-05-01T12:00", 24, "expected \"Z\": times are in UTC, but the text ends here"},
          {"mtime < 2040-01-01", 8, "times are compared as 32-bit numbers: this one is beyond"},
          {"mtime in [2024-05-01, now)", 10,
           "the lower bound of a range of times counts from now: use >= and <"},
          {"attributes any (orphan, sticky)", 15,
           "expected an attribute: orphan, archive, blockdevice, executable, sticky, setgid, setuid or a "
           "number"},
          {"name like 'a(Fb\\\\c)'", 0,
           "the compact form holds \"(F\" outside of a list, which the job would take for a list and change"},
          {std::string(600, '('), 500, "nested too deep"},
      }) {
    EXPECT_EQ(refusalOf([&text = text] { compileWhere(text); }), std::to_string(position) + ": " + reason)
        << text;
  }
}

TEST(ScandefLanguageTest, AnExpressionThatDoesNotCompileIsRefusedWithTheByteAndTheReason) {
  for (const auto& [expression, position, reason] : std::vector<Refused>{
           {"&", 1, "the expression ends where an operator is wanted"},
           {"!&?", 2, "unknown operator"},
           {BYTES("|=T\0\0\0\1=F[\0"), 9, "the pattern is wrong"},
           {std::string(20'000, '!'), 10'001, "nested too deep"},
       }) {
    EXPECT_EQ(refusalOf([&expression = expression] { explainWhere(expression); }),
              std::to_string(position) + ": " + reason);
  }
}

TEST(ScandefLanguageTest, ByteListsAreWhatTheJobReads) {
  EXPECT_EQ(byteList(BYTES("=T\0\x7F\x80\xFF")), "61,84,0,127,-128,-1");
  EXPECT_EQ(byteList(""), "null");
  EXPECT_EQ(expressionOf("null"), "");
  EXPECT_EQ(expressionOf(" 61, 84,,0  255 -1,128 "), BYTES("=T\0\xFF\xFF\x80"));
  for (const auto& [cell, position] : {std::pair("61,x", "3"), {"256", "0"}, {"1,-129", "2"}, {"1;2", "0"}}) {
    EXPECT_THAT(refusalOf([&cell = cell] { expressionOf(cell); }),
                ::testing::StartsWith(position + std::string(": ")))
        << cell;
  }
}

}  // namespace
}  // namespace agent::scandef
