#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Common/SafeText.h"

namespace agent::tools {

/// The text padded with blanks to a width, on its right or on its left.
std::string padRight(const std::string& text, size_t width);
std::string padLeft(const std::string& text, size_t width);

/// Units of 512 bytes as people say them, in three figures: "1.25 GiB".
std::string humanBlocks(int64_t blocks);

/// Bytes in the same way.
std::string humanBytes(int64_t bytes);

/// Seconds as people say them: "3 days", "2.4 years".
std::string humanAge(int64_t seconds);

/// A bar of `width` columns of which `part` of `whole` is filled.
std::string bar(int64_t part, int64_t whole, size_t width);

/// "42%" of a whole; empty when there is none.
std::string percent(int64_t part, int64_t whole);

/// Milliseconds since the epoch as local date and time.
std::string humanTime(int64_t milliseconds);

}  // namespace agent::tools
