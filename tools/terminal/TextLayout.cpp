#include "TextLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace agent::tools {

namespace {

constexpr int64_t DAY = 86400;

std::string withUnit(double value, const char* unit) {
  char text[64];
  const int decimals = std::fabs(value) < 9.995 ? 2 : std::fabs(value) < 99.95 ? 1 : 0;
  snprintf(text, sizeof text, "%.*f %s", decimals, value, unit);
  return text;
}

std::string humanSize(double value) {
  static constexpr std::array<const char*, 7> UNITS = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  size_t unit = 0;
  while (std::fabs(value) >= 999.5 && unit + 1 < UNITS.size()) {
    value /= 1024;
    ++unit;
  }
  return unit == 0 ? std::to_string(static_cast<int64_t>(value)) + " B" : withUnit(value, UNITS[unit]);
}

}  // namespace

std::string padRight(const std::string& text, size_t width) {
  const size_t columns = displayWidth(text);
  return columns < width ? text + std::string(width - columns, ' ') : text;
}

std::string padLeft(const std::string& text, size_t width) {
  const size_t columns = displayWidth(text);
  return columns < width ? std::string(width - columns, ' ') + text : text;
}

std::string humanBlocks(int64_t blocks) {
  return humanSize(static_cast<double>(blocks) * 512);
}

std::string humanBytes(int64_t bytes) {
  return humanSize(static_cast<double>(bytes));
}

std::string humanAge(int64_t seconds) {
  if (seconds < 0) return "in the future";
  if (seconds < 3600) return std::to_string(seconds / 60) + " min";
  if (seconds < 2 * DAY) return std::to_string(seconds / 3600) + " hours";
  if (seconds < 730 * DAY) return grouped(seconds / DAY) + " days";
  char text[64];
  snprintf(text, sizeof text, "%.1f years", static_cast<double>(seconds) / (365.25 * DAY));
  return text;
}

std::string bar(int64_t part, int64_t whole, size_t width) {
  if (whole <= 0 || part <= 0) return std::string(width, ' ');
  const double share = std::min(1.0, static_cast<double>(part) / static_cast<double>(whole));
  auto filled = static_cast<size_t>(std::lround(share * static_cast<double>(width)));
  if (filled == 0) filled = 1;  // something is more than nothing
  return std::string(filled, '#') + std::string(width - filled, ' ');
}

std::string percent(int64_t part, int64_t whole) {
  if (whole <= 0) return {};
  return std::to_string(std::lround(100.0 * static_cast<double>(part) / static_cast<double>(whole))) + "%";
}

std::string humanTime(int64_t milliseconds) {
  const time_t seconds = static_cast<time_t>(milliseconds / 1000);
  struct tm local = {};
  char text[64];
  if (localtime_r(&seconds, &local) == nullptr ||
      strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local) == 0) {
    return std::to_string(milliseconds) + " ms";
  }
  return text;
}

}  // namespace agent::tools
