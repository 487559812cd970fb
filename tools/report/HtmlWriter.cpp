#include "report/HtmlWriter.h"

#include <charconv>

namespace agent::tools {

Text::Text(std::string_view bytes, Backslash backslash) : Text(ofSafe(safeText(bytes, backslash))) {}

Text Text::fitted(std::string_view bytes, size_t width) {
  return ofSafe(fit(safeText(bytes), width));
}

Text Text::ofSafe(std::string_view safe) {
  Text text;
  text.escaped_.reserve(safe.size());
  for (const char c : safe) {
    switch (c) {
      case '&':
        text.escaped_ += "&amp;";
        break;
      case '<':
        text.escaped_ += "&lt;";
        break;
      case '>':
        text.escaped_ += "&gt;";
        break;
      case '"':
        text.escaped_ += "&quot;";
        break;
      case '\'':
        text.escaped_ += "&#39;";
        break;
      default:
        text.escaped_ += c;
    }
  }
  return text;
}

HtmlWriter& HtmlWriter::operator<<(Measure measure) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, measure.value, std::chars_format::fixed, 2);
  out_ << std::string_view(digits, static_cast<size_t>(end.ptr - digits));
  return *this;
}

HtmlWriter& HtmlWriter::operator<<(size_t number) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, number);
  out_ << std::string_view(digits, static_cast<size_t>(end.ptr - digits));
  return *this;
}

}  // namespace agent::tools
