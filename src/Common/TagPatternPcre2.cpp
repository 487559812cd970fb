#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <climits>
#include <new>

#include "Common/TagPattern.h"

namespace agent {

namespace {

struct FreeCode {
  void operator()(pcre2_code* code) const { pcre2_code_free(code); }
};
struct FreeMatch {
  void operator()(pcre2_match_data* match) const { pcre2_match_data_free(match); }
};

using Code = std::unique_ptr<pcre2_code, FreeCode>;

Code compile(const char* expression) {
  int error = 0;
  PCRE2_SIZE place = 0;
  // Anchored at both ends, which a "$" alone is not: it matches in front of a last line feed, too.
  Code code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression), PCRE2_ZERO_TERMINATED,
                          PCRE2_ANCHORED | PCRE2_ENDANCHORED, &error, &place, nullptr));
  if (!code) throw std::bad_alloc();  // the expressions are our own: it is memory
  return code;
}

}  // namespace

struct TagPattern::Compiled {
  Code expression;
};

TagPattern::TagPattern(const char* expression) : compiled_(new Compiled{compile(expression)}) {}

TagPattern::~TagPattern() = default;

std::optional<std::string_view> TagPattern::match(std::string_view line) const {
  if (line.size() > INT_MAX) return std::nullopt;  // as with the other matcher
  const pcre2_code* code = compiled_->expression.get();
  const std::unique_ptr<pcre2_match_data, FreeMatch> match(
      pcre2_match_data_create_from_pattern(code, nullptr));
  if (!match) throw std::bad_alloc();
  const int groups =
      pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(line.data()), line.size(), 0, 0, match.get(), nullptr);
  if (groups == PCRE2_ERROR_NOMEMORY) throw std::bad_alloc();
  if (groups < 0) return std::nullopt;
  const PCRE2_SIZE* bounds = pcre2_get_ovector_pointer(match.get());
  return line.substr(bounds[4], bounds[5] - bounds[4]);
}

}  // namespace agent
