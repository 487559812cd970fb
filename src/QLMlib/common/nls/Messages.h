#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace agent {

/// One value that goes into a message's text. A catalog entry names its conversion ("%s", "%2$d").
using MessageInsert = std::variant<int64_t, uint64_t, double, std::string>;
using MessageInserts = std::vector<MessageInsert>;

/// Formats message `number` and feeds it to the global return code.
/// @param identifier as the caller knows the message, "STA0139W"; its family decides which catalog is asked
/// @return the text, with its identifier in front where its severity keeps one; empty when no catalog has
///     the number
std::string formatMessage(uint32_t number, std::string_view identifier, const MessageInserts& inserts);

/// The text that the catalog holds for `number`, without inserts and without touching the global return code.
std::string messageText(uint32_t number, std::string_view identifier);

}  // namespace agent
