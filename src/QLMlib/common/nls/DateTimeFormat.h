#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace agent {

/// The formats of dates, times and numbers in logs, traces and messages. Set once, by setFormats, before any
/// second thread runs; read from any thread afterwards.
extern int32_t date_fmt;          // 0 from the locale, 1 to 5 as the table in the source
extern int32_t time_fmt;          // 0 from the locale, 1 to 4
extern int32_t number_fmt;        // 0 as 1, 1 to 6
extern std::string date_fmt_str;  // strftime format, "%m/%d/%Y" until set
extern std::string time_fmt_str;  // strftime format that ends in the seconds unless time_fmt is 4

/// Chooses the formats. A number outside its table counts as 0. Where the locale's own format is asked for it
/// is taken from LC_TIME as the process has set it; the locales C, POSIX and C.UTF-8 give none, and a time is
/// valid only if it ends in the seconds, because log lines put milliseconds behind it.
void setFormats(int32_t dateFormat, int32_t timeFormat, int32_t numberFormat);

/// The date by date_fmt_str; a text of fewer than 9 characters has two blanks added, so that the texts of all
/// formats take the ten columns that the log pruner reads.
std::string dateText(const std::tm& time);

/// The time by time_fmt_str.
std::string timeText(const std::tm& time);

/// Date, time and milliseconds of `now` in local time: "03/25/2014 10:15:02.123".
std::string timeStampText(const std::timespec& now);

/// `number` with the thousands separator of number_fmt: "1,234,567". For programs that show figures to people
/// in their language; the job writes figures for its server.
std::string numberText(int64_t number);

/// The decimal mark of number_fmt.
char decimalMark();

}  // namespace agent
