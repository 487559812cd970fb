// Input: a compact selection. It compiles or leaves error records that can be read backwards; what compiles
// answers for any entry, the same each time, and its negation answers the opposite.

#include "FuzzTarget.h"
#include "RandomEntries.h"
#include "Scan/selection/SelectNode.h"
#include "Scan/selection/Selection.h"

namespace agent::fuzz {
namespace {

SelectTree compile(Selection& selection, const std::string& expression, int32_t baseLevel) {
  selection.setExpression(expression);
  const bool compiled = selection.compile("fuzz", baseLevel);
  SelectTree root = selection.takeRoot();
  require(compiled == (root != nullptr), "a compile that succeeds leaves a tree");
  require(compiled == selection.errors().empty(), "a compile that fails leaves errors");
  return root;
}

size_t lengthBefore(const std::string& errors, size_t end) {
  return static_cast<unsigned char>(errors[end - 2]) |
         static_cast<size_t>(static_cast<unsigned char>(errors[end - 1])) << 8;
}

// The outermost record stands last.
void readBackwards(const std::string& errors) {
  size_t end = errors.size();
  for (bool innermost = false; !innermost;) {
    require(end >= 3, "a letter stands at the front of the errors");
    const char code = errors[end - 1];
    end -= 3;
    innermost = code >= '@' && code <= 'L';
    require(innermost || (code >= 1 && code <= 17), "an error code is known");
    for (int text = 0; code == 'B' && text < 2; ++text) {
      require(end >= 2 && lengthBefore(errors, end) <= end - 2, "a counted text fits");
      end -= 2 + lengthBefore(errors, end);
    }
  }
  require(end == 0, "nothing stands in front of the innermost error");
}

}  // namespace
}  // namespace agent::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace agent;
  using namespace agent::fuzz;
  const std::string expression = textOf(data, size);
  RandomEntries entries(expression);
  const int32_t baseLevel = entries.baseLevel();
  Selection selection;
  const SelectTree root = compile(selection, expression, baseLevel);
  if (root == nullptr) {
    readBackwards(selection.errors());
    return 0;
  }
  const SelectTree again = compile(selection, expression, baseLevel);
  // A single blank and nothing at all are whole expressions only.
  const bool negatable = !expression.empty() && expression != " ";
  const SelectTree negation = negatable ? compile(selection, "!" + expression, baseLevel) : nullptr;
  for (int i = 0; i < 16; ++i) {
    Entry entry = entries.next();
    const bool answer = selects(*root, entry.info());
    require(answer == selects(*again, entry.info()), "one expression has one meaning");
    require(negation == nullptr || answer != selects(*negation, entry.info()),
            "a negation answers the opposite");
  }
  return 0;
}
