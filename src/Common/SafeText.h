#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace agent {

/// Text that any terminal shows as it is: control characters, marks that turn the direction of writing and
/// bytes that are no UTF-8 become "\\xNN", a backslash is doubled. For names, which anybody may have chosen.
std::string safeText(std::string_view bytes);

/// Columns that a safe text takes on a terminal.
size_t displayWidth(std::string_view text);

/// Cuts a safe text to a width; what is left out is shown as "..", behind the first third, since the
/// beginning and above all the end of a path tell most.
std::string fit(const std::string& text, size_t width);

/// "312,456"
std::string grouped(int64_t number);

}  // namespace agent
