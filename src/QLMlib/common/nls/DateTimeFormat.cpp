#include "QLMlib/common/nls/DateTimeFormat.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include <langinfo.h>
#include <clocale>

namespace agent {
namespace {

constexpr std::array<const char*, 6> DATE_FORMATS{"",         "%m/%d/%Y", "%d-%m-%Y",
                                                  "%Y-%m-%d", "%d.%m.%Y", "%Y.%m.%d"};
constexpr std::array<const char*, 5> TIME_FORMATS{"", "%H:%M:%S", "%H,%M,%S", "%H.%M.%S", "%I:%M:%S%p"};

struct NumberMarks {
  char thousands;
  char decimal;
};
constexpr std::array<NumberMarks, 7> NUMBER_MARKS{
    {{',', '.'}, {',', '.'}, {',', ','}, {' ', ','}, {' ', '.'}, {'.', ','}, {'.', '.'}}};

template <typename Table>
int32_t withinTable(const Table& table, int32_t choice) {
  return choice >= 0 && choice < static_cast<int32_t>(table.size()) ? choice : 0;
}

bool localeGivesFormats() {
  const char* name = std::setlocale(LC_TIME, nullptr);
  if (name == nullptr) return false;
  const std::string_view locale = name;
  return locale != "C" && locale != "POSIX" && locale.substr(0, 2) != "C.";
}

bool endsInSeconds(std::string_view format) {
  const auto endsWith = [format](std::string_view end) {
    return format.size() >= end.size() && format.substr(format.size() - end.size()) == end;
  };
  return endsWith("%S") || endsWith("%T") || endsWith("%OS");
}

std::string localeDateFormat() {
  if (!localeGivesFormats()) return "";
  return nl_langinfo(D_FMT);
}

std::string localeTimeFormat() {
  if (!localeGivesFormats()) return "";
  const std::string format = nl_langinfo(T_FMT);
  return endsInSeconds(format) ? format : "";
}

std::string formatTime(const std::string& format, const std::tm& time) {
  std::array<char, 256> text;  // a format longer than this gives an empty text, never a cut one
  const size_t length = std::strftime(text.data(), text.size(), format.c_str(), &time);
  return std::string(text.data(), length);
}

}  // namespace

int32_t date_fmt = 0;
int32_t time_fmt = 0;
int32_t number_fmt = 0;
std::string date_fmt_str = DATE_FORMATS[1];
std::string time_fmt_str = TIME_FORMATS[1];

void setFormats(int32_t dateFormat, int32_t timeFormat, int32_t numberFormat) {
  date_fmt = withinTable(DATE_FORMATS, dateFormat);
  time_fmt = withinTable(TIME_FORMATS, timeFormat);
  number_fmt = withinTable(NUMBER_MARKS, numberFormat);

  date_fmt_str = date_fmt == 0 ? localeDateFormat() : DATE_FORMATS[static_cast<size_t>(date_fmt)];
  if (date_fmt_str.empty()) date_fmt_str = DATE_FORMATS[1];
  time_fmt_str = time_fmt == 0 ? localeTimeFormat() : TIME_FORMATS[static_cast<size_t>(time_fmt)];
  if (time_fmt_str.empty()) time_fmt_str = TIME_FORMATS[1];
}

std::string dateText(const std::tm& time) {
  std::string text = formatTime(date_fmt_str, time);
  if (text.size() < 9) text += "  ";
  return text;
}

std::string timeText(const std::tm& time) {
  return formatTime(time_fmt_str, time);
}

std::string timeStampText(const std::timespec& now) {
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  std::array<char, 8> milliseconds;
  std::snprintf(milliseconds.data(), milliseconds.size(), ".%03lu",
                static_cast<unsigned long>(now.tv_nsec) / 1'000'000 % 1'000);
  return dateText(local) + " " + timeText(local) + milliseconds.data();
}

std::string numberText(int64_t number) {
  std::string text = std::to_string(number);
  const ptrdiff_t firstDigit = number < 0 ? 1 : 0;
  const char separator = NUMBER_MARKS[static_cast<size_t>(number_fmt)].thousands;
  for (auto place = static_cast<ptrdiff_t>(text.size()) - 3; place > firstDigit; place -= 3) {
    text.insert(static_cast<size_t>(place), 1, separator);
  }
  return text;
}

char decimalMark() {
  return NUMBER_MARKS[static_cast<size_t>(number_fmt)].decimal;
}

}  // namespace agent
