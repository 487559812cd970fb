#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace agent {

/// How a safe text shows a backslash: doubled, so that what it shows can be told from an escape, or as it is
/// where people know the text as they wrote it.
enum class Backslash { DOUBLED, KEPT };

/// Text that any terminal shows as it is: control characters, marks that turn the direction of writing, break
/// the line or can't be seen, and bytes that are no UTF-8 become "\\xNN". For names, which anybody may have
/// chosen.
std::string safeText(std::string_view bytes, Backslash backslash = Backslash::DOUBLED);

/// The same for one character: takes it off the front of `bytes`, which mustn't be empty, and puts it behind
/// `text`, escaped where it has to be.
void appendSafe(std::string& text, std::string_view& bytes, Backslash backslash);

/// A safe text in double quotes, for messages.
std::string inQuotes(std::string_view bytes);

/// Length of the UTF-8 character at the front, 0 where safeText escapes what stands there.
size_t harmlessLength(std::string_view bytes);

/// Columns that a safe text takes on a terminal: two for a wide character, none for an accent of its own.
size_t displayWidth(std::string_view text);

/// Cuts a safe text to a width, between characters; what is left out is shown as "..", behind the first
/// third, since the beginning and above all the end of a path tell most.
std::string fit(const std::string& text, size_t width);

/// "312,456"
std::string grouped(int64_t number);

}  // namespace agent
