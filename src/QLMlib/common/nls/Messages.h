#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "QLMlib/common/nls/Message.h"

namespace agent {

/// One value that goes into a message's text. A catalog entry names its conversion ("%s", "%2$d").
using MessageInsert = std::variant<int64_t, uint64_t, double, std::string>;
using MessageInserts = std::vector<MessageInsert>;

/// Formats a message and feeds it to the global return code.
/// @return the text, with its identifier in front where its severity keeps one; empty when no catalog has
///     the number
std::string formatMessage(const Message& message, const MessageInserts& inserts);

/// The text that the catalog holds for a message, without inserts and without touching the global return
/// code.
std::string messageText(const Message& message);

}  // namespace agent
