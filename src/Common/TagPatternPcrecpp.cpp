#include <pcrecpp.h>

#include <climits>
#include <new>

#include "Common/TagPattern.h"

namespace agent {

struct TagPattern::Compiled {
  pcrecpp::RE expression;
};

TagPattern::TagPattern(const char* expression) : compiled_(new Compiled{pcrecpp::RE(expression)}) {
  // The wrapper keeps a failure for itself and matches nothing. The expressions are our own: it is memory.
  if (!compiled_->expression.error().empty()) throw std::bad_alloc();
}

TagPattern::~TagPattern() = default;

std::optional<std::string_view> TagPattern::match(std::string_view line) const {
  if (line.size() > INT_MAX) return std::nullopt;  // the wrapper's own width
  pcrecpp::StringPiece opening;
  pcrecpp::StringPiece name;
  pcrecpp::StringPiece closing;
  const pcrecpp::StringPiece text(line.data(), static_cast<int>(line.size()));
  if (!compiled_->expression.FullMatch(text, &opening, &name, &closing)) return std::nullopt;
  return std::string_view(name.data(), static_cast<size_t>(name.size()));
}

}  // namespace agent
