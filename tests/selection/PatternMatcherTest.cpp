#include "Scan/selection/PatternMatcher.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>

#include "Scan/selection/pathmatch.h"

namespace agent {

// That the program gives the platform's answer for any pattern and text is the fuzz target path_pattern's.

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

}  // namespace agent
