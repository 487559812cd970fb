#pragma once

#include "QLMlib/common/nls/Message.h"

// The runtime's own messages, like Common/JobMessages.h; the texts stand in nls/en_US/zemclientV3.msg.
namespace agent::messages {

inline constexpr Message LOG_CONTINUED{216, "ZNS0216T"};
inline constexpr Message LOG_END{217, "ZNS0217T"};
/// 1: the log, 2: the reason
inline constexpr Message LOG_NOT_OPENED{264, "ZNS0264E"};
/// 1: the temporary or save file, 2: the reason
inline constexpr Message LOG_NOT_PRUNED{265, "ZNS0265E"};
/// 1: the log, 2: the reason
inline constexpr Message LOG_NOT_RESTORED{267, "ZNS0267E"};

}  // namespace agent::messages
