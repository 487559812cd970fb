#include "Common/SafeText.h"

#include <gtest/gtest.h>

namespace agent::test {

TEST(SafeTextTest, WhatATerminalActsUponIsEscapedAndNothingElse) {
  // Accents, wide characters, a joiner that words need (U+200D).
  const std::string shown = "plain ~ caf\xC3\xA9 \xE6\xAC\xA2 \xF0\x9F\x98\x80 \xE2\x80\x8D";
  EXPECT_EQ(safeText(shown), shown);
  // C0, C1, hyphens and spaces without width, marks of direction, line ends, tags; then what is no character.
  const std::string escaped =
      "\x1B\x7F\xC2\x80\xC2\x9F\xC2\xAD\xE1\xA0\x8E\xE2\x80\x8B\xE2\x81\xA0\xEF\xBB\xBF\xEF\xBF\xB9"
      "\xD8\x9C\xE2\x80\x8E\xE2\x80\xAE\xE2\x81\xA9\xE2\x80\xA8\xE2\x80\xA9\xF3\xA0\x80\x80\xF3\xA0\x81\xBF"
      "\xFF\x80\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80\xC3";
  EXPECT_EQ(safeText(escaped).size(), 4 * escaped.size()) << safeText(escaped);
  EXPECT_EQ(safeText("a\\b\n"), "a\\\\b\\x0A");
  EXPECT_EQ(safeText("a\\b\n", Backslash::KEPT), "a\\b\\x0A");
}

TEST(SafeTextTest, WidthsAreThoseOfATerminalAndCutsFallBetweenCharacters) {
  const std::string wide = "\xE6\xAC\xA2\xE8\xBF\x8E";  // two characters of two columns each
  EXPECT_EQ(displayWidth(wide + "e\xCC\x81"), 5U);      // and an e with an accent of its own
  EXPECT_EQ(fit(wide + wide + "ab", 10), wide + wide + "ab");
  EXPECT_EQ(fit("a" + wide + wide + wide, 10), "a.." + wide.substr(3) + wide);
  EXPECT_EQ(fit("abcd\\x1Befghi", 10), "ab..efghi");  // "\x1B" would have been halved
}

}  // namespace agent::test
