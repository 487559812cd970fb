#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "Common/SafeText.h"

// What a page is written with. Markup are literals of the source and nothing else, which the compiler sees
// to; whatever comes out of a result gets into a page as Text, of which no character is markup.

namespace agent::tools {

/// Markup that was written here.
struct Markup {
  /// @param literal what else is put in here doesn't compile
  consteval Markup(const char* literal) : markup(literal) {}  // implicit: a page reads like what it becomes

  std::string_view markup;
};

/// Bytes as text that means nothing to a browser, neither between tags nor in a quoted attribute: made safe
/// as for a terminal (safeText), then escaped.
class Text {
 public:
  explicit Text(std::string_view bytes, Backslash backslash = Backslash::DOUBLED);

  /// No wider than `width` columns: the middle is left out.
  static Text fitted(std::string_view bytes, size_t width);

  const std::string& escaped() const { return escaped_; }

 private:
  Text() = default;
  static Text ofSafe(std::string_view safe);

  std::string escaped_;
};

inline Text text(std::string_view bytes) {
  return Text(bytes);
}

/// A length or a place in a drawing: two decimals, a point whatever the locale.
struct Measure {
  double value;
};

/// The stream of a page.
class HtmlWriter {
 public:
  explicit HtmlWriter(std::ostream& out) : out_(out) {}

  HtmlWriter& operator<<(Markup markup) {
    out_ << markup.markup;
    return *this;
  }
  HtmlWriter& operator<<(const Text& text) {
    out_ << text.escaped();
    return *this;
  }
  HtmlWriter& operator<<(Measure measure);
  HtmlWriter& operator<<(size_t number);

  /// A number that no element of the page has had as its id; ids begin with a letter.
  size_t nextId() { return ++ids_; }

 private:
  std::ostream& out_;
  size_t ids_ = 0;
};

}  // namespace agent::tools
