#include "QLMlib/common/nls/LogPrintf.h"

#include <cstring>
#include <ctime>

#include <unistd.h>

#include "QLMlib/common/nls/Catalog.h"
#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/ut/LogFile.h"
#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceClasses.h"

namespace agent {
namespace {

constexpr uint8_t SEVERITY_WARNING = 5;

void printText(const std::string& text) {
  std::string stamp;
  if (TEST_CLC_TIMESTAMP) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    stamp = dateText(local) + " " + timeText(local) + " ";
  }
  tellStarter(STDOUT_FILENO, stamp + text);
}

void writeErrorLog(const std::string& text) {
  if (errorLogFile != nullptr && errorLogFile->isOpen()) errorLogFile->write(text);
}

bool goesToErrorLog(const MessageDescriptor& message) {
  if ((message.flags & LOG_PRINT_ERROR_LOG) != 0) return true;
  if ((message.flags & LOG_PRINT_BY_SEVERITY) == 0) return false;
  const uint8_t severity = messageSeverity(message.number);
  return severity >= SEVERITY_WARNING && severity != SEVERITY_NOT_FOUND;
}

}  // namespace

int nlLogPrintf(const MessageDescriptor& message, std::span<char> buffer) {
  TRACE(TR_EVENT, "nlLogPrintf: msg number = %u\n", message.number);
  const bool hasInserts = (message.flags & LOG_PRINT_INSERTS) != 0;
  std::string text =
      formatMessage({message.number, message.identifier}, hasInserts ? message.inserts : MessageInserts{});
  if (text.empty()) return 0;
  if ((message.flags & LOG_PRINT_LINE_FEED) != 0) text += '\n';

  if (text.size() >= buffer.size()) {
    TRACE(TR_ERROR, "nlLogPrintf(): msgSize(%d) greater than avail(%d); returning.\n",
          static_cast<int>(text.size()), static_cast<int>(buffer.size()));
    return -1;
  }
  std::memcpy(buffer.data(), text.c_str(), text.size() + 1);

  if ((message.flags & LOG_PRINT_STANDARD_OUT) != 0) printText(text);
  if (goesToErrorLog(message)) writeErrorLog(text);
  return static_cast<int>(text.size());
}

}  // namespace agent
