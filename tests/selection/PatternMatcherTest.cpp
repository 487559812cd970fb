#include "Scan/selection/PatternMatcher.h"

#include <gtest/gtest.h>
#include <regex.h>

#include <clocale>
#include <random>

#include "Scan/selection/pathmatch.h"

namespace agent {
namespace {

/// The platform's matcher, asked as plainly as can be.
class Reference {
 public:
  explicit Reference(const std::string& expression)
      : compiled_(regcomp(&regex_, expression.c_str(), REG_NOSUB) == 0) {}
  ~Reference() {
    if (compiled_) regfree(&regex_);
  }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;

  bool compiled() const { return compiled_; }
  bool matches(const std::string& text) const { return regexec(&regex_, text.c_str(), 0, nullptr, 0) == 0; }

 private:
  regex_t regex_ = {};
  bool compiled_;
};

/// Patterns and texts over a small alphabet, so that many pairs match or nearly do.
class Generator {
 public:
  explicit Generator(uint32_t seed) : random_(seed) {}

  std::string pattern() {
    pieces_.clear();
    for (size_t left = random_() % 9; left > 0; --left) pieces_.push_back(oneOf(PATTERN_PIECES));
    return joined(pieces_);
  }

  /// Any text, or one that follows the last pattern for the most part.
  std::string text() {
    std::vector<std::string> pieces;
    if (random_() % 2 == 0) {
      for (size_t left = random_() % 11; left > 0; --left) pieces.push_back(oneOf(TEXT_PIECES));
      return joined(pieces);
    }
    for (const std::string& piece : pieces_)
      pieces.push_back(random_() % 16 == 0 ? oneOf(TEXT_PIECES) : sample(piece));
    return joined(pieces);
  }

 private:
  static inline const std::vector<std::string> PATTERN_PIECES = {
      "a",    "b",           "a",     "b",  "/", "/",    "/",   "%/", "/%/", "*",     "*",   "?",
      "[ab]", "[!a]",        "[a-c]", "[!", "[", "]",    "-",   "&*", "&",   ".",     "\n",  "\xE9",
      "\xFF", "[\x80-\xFF]", "^",     "$",  "%", "[]a]", "[b-", "&-", "&]",  "[+-9]", "[[:", ":]"};
  static inline const std::vector<std::string> TEXT_PIECES = {
      "a", "b", "a", "b", "/", "/", "/", ".", "\n", "\xE9", "\xFF", "*", "-", "]", "[", "%", "\\", "c", ":"};

  const std::string& oneOf(const std::vector<std::string>& pieces) {
    return pieces[random_() % pieces.size()];
  }

  static std::string joined(const std::vector<std::string>& pieces) {
    std::string text;
    for (const std::string& piece : pieces) text += piece;
    return text;
  }

  std::string sample(const std::string& piece) {
    if (piece == "*" || piece == "%/")
      return std::vector<std::string>{"", "a", "b\xE9", "ab/"}[random_() % 4];
    if (piece == "/%/") return std::vector<std::string>{"/", "/a/", "/ab/b/"}[random_() % 3];
    if (piece.size() == 1) return piece;
    return oneOf(TEXT_PIECES);
  }

  std::mt19937 random_;
  std::vector<std::string> pieces_;
};

TEST(PatternMatcherTest, GivesThePlatformsAnswerForEveryPatternAndText) {
  Generator generator(20240607);
  int patterns = 0;
  int refused = 0;
  int programs = 0;
  int pairs = 0;
  int matched = 0;
  while (pairs < 400'000) {
    const std::string pattern = generator.pattern();
    int32_t anchor = 0;
    const std::string regex = pathmatch(pattern).translate(anchor);
    if (regex.empty()) continue;
    ++patterns;
    const Reference reference(regex);
    std::string error;
    const auto matcher = PatternMatcher::compile(regex, error);
    ASSERT_EQ(matcher != nullptr, reference.compiled())
        << ::testing::PrintToString(pattern) << " " << ::testing::PrintToString(regex);
    if (matcher == nullptr) {
      ++refused;
      continue;
    }
    // The platform's matcher stands behind the program for what that can't read; pathmatch writes nothing
    // such.
    ASSERT_TRUE(PatternProgram().read(regex)) << ::testing::PrintToString(pattern);
    ++programs;
    for (int i = 0; i < 40; ++i, ++pairs) {
      const std::string text = generator.text();
      const bool expected = reference.matches(text);
      ASSERT_EQ(matcher->matches(text.c_str()), expected)
          << ::testing::PrintToString(pattern) << " as " << ::testing::PrintToString(regex) << " on "
          << ::testing::PrintToString(text);
      matched += expected ? 1 : 0;
    }
  }
  RecordProperty("patterns", patterns);
  // Enough of each kind, or the comparison shows nothing.
  EXPECT_GT(refused, 1'000);
  EXPECT_GT(programs, 5'000);
  EXPECT_GT(matched, 20'000);
}

TEST(PatternMatcherTest, LongTextsAndManyRunsCostNoStackAndLittleTime) {
  std::string error;
  std::string pattern;
  for (int i = 0; i < 2'000; ++i) pattern += "%/*a/";
  int32_t anchor = 0;
  const auto matcher = PatternMatcher::compile(pathmatch(pattern + "%/*c").translate(anchor), error);
  ASSERT_NE(matcher, nullptr);
  std::string path;
  while (path.size() < 4'000) path += "aaa/";
  EXPECT_FALSE(matcher->matches((path + "aaa").c_str()));
}

TEST(PatternMatcherTest, AsksThePlatformWhereTheProgramCannotRead) {
  for (const auto& [expression, yes, no] : std::vector<std::array<const char*, 3>>{
           {"^a\\{2\\}$", "aa", "a"},
           {"^[[:digit:]]*$", "12", "a"},
           {"^\\(ab\\)*c$", "ababc", "abac"},
           {"abc", "xabcx", "ab"},
           {"^a.c$", "abc", "ac"},
           {"^ab*$", "abbb", "aba"},
           {"^[a-c]*$", "abc", "abd"},
           {"^[^a]$", "/", "a"},  // may match a slash
       }) {
    EXPECT_FALSE(PatternProgram().read(expression)) << expression;
    std::string error;
    const auto matcher = PatternMatcher::compile(expression, error);
    ASSERT_NE(matcher, nullptr) << expression << ": " << error;
    EXPECT_TRUE(matcher->matches(yes)) << expression;
    EXPECT_FALSE(matcher->matches(no)) << expression;
  }
}

TEST(PatternMatcherTest, MatchesBytesWhateverTheLocale) {
  const std::string before = setlocale(LC_ALL, nullptr);
  if (setlocale(LC_ALL, "C.UTF-8") == nullptr) GTEST_SKIP() << "this host has no UTF-8 locale to disturb us";
  for (const char* const expression : {"^a[^/]g$", "^a.g$"}) {  // by the program, by the platform
    std::string error;
    const auto matcher = PatternMatcher::compile(expression, error);
    ASSERT_NE(matcher, nullptr);
    EXPECT_TRUE(matcher->matches("a\xE9g")) << expression;
    EXPECT_FALSE(matcher->matches("a\xC3\xA9g")) << expression << ": two bytes, one letter";
  }
  setlocale(LC_ALL, before.c_str());
}

}  // namespace
}  // namespace agent
