#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace agent {

// Numbers in texts: those of a fixed width in headers of logs and traces and in names of files, and those
// that people give.

/// The text with `fill` in front, up to a width. A longer one stays as it is.
std::string filledLeft(std::string text, size_t width, char fill);

/// The number in decimal with zeros in front, a sign before them, as printf's "%0*d" has it.
std::string zeroFilled(int32_t number, size_t width);

/// The number in decimal with blanks behind it.
std::string blankFilled(uint64_t number, size_t width);

/// Takes a decimal number and the blanks in front of it off `text`.
/// @return false, and only the blanks are taken, when none stands there or it is too large
bool takeNumber(std::string_view& text, uint64_t& number);

/// The text as one decimal number; nothing when it holds anything else or the number is too large for its
/// type.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace agent
