// Input: taken once as a selection in words and once as a compact one. What words compile to comes back as
// words for the same selection; what compiles can be put into words; and words that are accepted mean what
// they explain.

#include "FuzzTarget.h"
#include "RandomEntries.h"
#include "Scan/selection/SelectNode.h"
#include "Scan/selection/Selection.h"
#include "definition/ScandefLanguage.h"

namespace agent::fuzz {
namespace {

SelectTree compile(const std::string& expression) {
  Selection selection;
  selection.setExpression(expression);
  selection.compile("fuzz", 0);
  return selection.takeRoot();
}

void requireSameMeaning(const std::string& one, const std::string& other) {
  const SelectTree first = compile(one);
  const SelectTree second = compile(other);
  require(first != nullptr && second != nullptr, "what the language accepts compiles");
  RandomEntries entries(one);
  for (int i = 0; i < 16; ++i) {
    Entry entry = entries.next();
    require(selects(*first, entry.info()) == selects(*second, entry.info()), "words mean what they explain");
  }
}

void asWords(const std::string& text) {
  std::string expression;
  try {
    expression = scandef::compileWhere(text);
  } catch (const scandef::LanguageError& error) {
    require(error.position() <= text.size(), "an error has its place in the text");
    return;
  }
  const std::string words = scandef::explainWhere(expression);
  const std::string again = scandef::compileWhere(words);
  require(scandef::explainWhere(again) == words, "each selection has one spelling");
  requireSameMeaning(expression, again);
  require(scandef::expressionOf(scandef::byteList(expression)) == expression, "a list of bytes reads back");
}

void asExpression(const std::string& expression) {
  const bool compiles = compile(expression) != nullptr;
  std::string words;
  try {
    words = scandef::explainWhere(expression);
  } catch (const scandef::LanguageError&) {
    require(!compiles, "what compiles can be explained");
    return;
  }
  require(compiles, "what doesn't compile isn't explained");
  try {
    requireSameMeaning(expression, scandef::compileWhere(words));
  } catch (const scandef::LanguageError&) {
    // A test that people had better not write.
  }
}

}  // namespace
}  // namespace agent::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input = agent::fuzz::textOf(data, size);
  agent::fuzz::asWords(input);
  agent::fuzz::asExpression(input);
  return 0;
}
