#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace agent {

// Numbers in texts of a fixed width: headers of logs and traces, names of files.

/// The text with `fill` in front, up to a width. A longer one stays as it is.
std::string filledLeft(std::string text, size_t width, char fill);

/// The number in decimal with zeros in front, a sign before them, as printf's "%0*d" has it.
std::string zeroFilled(int32_t number, size_t width);

/// The number in decimal with blanks behind it.
std::string blankFilled(uint64_t number, size_t width);

/// Takes a decimal number and the blanks in front of it off `text`.
/// @return false, and only the blanks are taken, when none stands there or it is too large
bool takeNumber(std::string_view& text, uint64_t& number);

}  // namespace agent
