#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace agent::tools {

/// Text that any terminal shows as it is: control characters and bytes that are no UTF-8 become "\xNN", a
/// backslash is doubled.
std::string safeText(std::string_view bytes);

/// Columns that a safe text takes on a terminal.
size_t displayWidth(std::string_view text);

/// Cuts a safe text to a width; what is left out is shown as "..": in the middle, since the beginning and the
/// end of a path say most.
std::string fit(const std::string& text, size_t width);

/// The text padded with blanks to a width, on its right or on its left.
std::string padRight(const std::string& text, size_t width);
std::string padLeft(const std::string& text, size_t width);

/// "312,456"
std::string grouped(int64_t number);

/// Units of 512 bytes as people say them, in three figures: "1.25 GiB".
std::string humanBlocks(int64_t blocks);

/// Seconds as people say them: "3 days", "2.4 years".
std::string humanAge(int64_t seconds);

/// A bar of `width` columns of which `part` of `whole` is filled.
std::string bar(int64_t part, int64_t whole, size_t width);

/// "42%" of a whole; empty when there is none.
std::string percent(int64_t part, int64_t whole);

/// Milliseconds since the epoch as local date and time.
std::string humanTime(int64_t milliseconds);

}  // namespace agent::tools
