// Input: a path pattern, and behind a NUL the text to match. The translation compiles or is refused with
// words, and the answer is the platform's own.

#include <regex.h>

#include "FuzzTarget.h"
#include "Scan/selection/PatternMatcher.h"
#include "Scan/selection/pathmatch.h"

namespace agent::fuzz {
namespace {

// regcomp's memory grows with the square of the number of runs in a pattern.
constexpr size_t LONGEST_FOR_THE_PLATFORM = 64;

void compareWithPlatform(const std::string& expression, const PatternMatcher* matcher,
                         const std::string& text) {
  regex_t regex;
  const bool compiled = regcomp(&regex, expression.c_str(), REG_NOSUB) == 0;
  require(compiled == (matcher != nullptr), "what the platform refuses is refused, and nothing else");
  if (!compiled) return;
  const bool expected = regexec(&regex, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&regex);
  require(matcher->matches(text.c_str()) == expected, "the answer is the platform's");
}

}  // namespace
}  // namespace agent::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace agent;
  using namespace agent::fuzz;
  const std::string input = textOf(data, size);
  const std::string pattern = input.c_str();
  const std::string text =
      input.size() > pattern.size() ? input.c_str() + pattern.size() + 1 : pattern.c_str();

  constexpr int32_t UNSET = 99;
  int32_t anchor = UNSET;
  const std::string expression = pathmatch(pattern).translate(anchor);
  if (expression.empty()) {
    require(anchor == UNSET, "a pattern for everything has no anchor");
    return 0;
  }
  require(anchor <= ANCHOR_RELATIVE, "an anchor is absolute, relative or a number of components");
  require(expression.front() == '^' && expression.back() == '$', "an expression stands for the whole text");
  std::string words;
  const auto matcher = PatternMatcher::compile(expression, words);
  require((matcher == nullptr) == !words.empty(), "a refusal has words");
  require(matcher == nullptr || PatternProgram().read(expression),
          "evaluation never falls back on the platform");
  if (pattern.size() <= LONGEST_FOR_THE_PLATFORM) compareWithPlatform(expression, matcher.get(), text);
  if (matcher != nullptr) matcher->matches(text.c_str());
  return 0;
}
