#include "QLMlib/common/ut/NumberText.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace agent {

std::string filledLeft(std::string text, size_t width, char fill) {
  if (text.size() < width) text.insert(0, width - text.size(), fill);
  return text;
}

std::string zeroFilled(int32_t number, size_t width) {
  std::string text = std::to_string(number);
  if (text.size() < width) text.insert(number < 0 ? 1 : 0, width - text.size(), '0');
  return text;
}

std::string blankFilled(uint64_t number, size_t width) {
  std::string text = std::to_string(number);
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

bool takeNumber(std::string_view& text, uint64_t& number) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

}  // namespace agent
