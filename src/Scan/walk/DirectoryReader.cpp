#include "Scan/walk/DirectoryReader.h"

#include "Common/GenericException.h"
#include "Common/LogManager.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/walk/Scanner.h"

namespace agent {

namespace {

constexpr int32_t SECURITY_MESSAGE = 436;  // STA0135W: the entry is there, its owner can't be read

void logException(const GenericException& exception) {
  logJobMessage(static_cast<uint32_t>(exception.getMsgID()), exception.getMessage(),
                {exception.getMessage(), exception.getCause()});
}

}  // namespace

void DirectoryReader::init(Scanner& scanner, bool isRoot) {
  TRACE_SCOPE("DirectoryReader::init()");
  scanner_ = &scanner;
  isRoot_ = isRoot;
  pathLength_ = scanner.path().size();
  try {
    setHandle(open(scanner.path()));
  } catch (const GenericException& exception) {
    TRACE(TR_MIN, "DirectoryReader::init() : ERROR: %s \n", exception.getMessage().c_str());
    if (exception.getMessage() == "STA0529E" || exception.getMessage() == "STA0530E") {
      logJobMessage(static_cast<uint32_t>(exception.getMsgID()), "STA0529E", {exception.getCause()});
      throw;
    }
    logException(exception);
  }
}

bool DirectoryReader::next(int16_t fsType) {
  // The entry's path grows in the record itself: its first pathLength() bytes are this directory's path
  // already, whatever was read in between lay below it.
  FileAttributes& attributes = scanner_->attributes();
  bool more = false;
  try {
    more = nextEntry(attributes.faName, handle(), fsType);
  } catch (const GenericException& exception) {
    TRACE(TR_MIN,
          "DirectoryReader::next() : ERROR: Caught GenericException in native nextEntry() on %s ... setting "
          "result to FALSE\n",
          attributes.faName.c_str());
    TRACE(TR_MIN, "EXCEPTION: ID: %s\n", exception.getMessage().c_str());
    logException(exception);
  }
  if (!more) {
    setHandle(CLOSED);
    return false;
  }

  int32_t device = -1;
  try {
    device = stat(attributes.faName, attributes, fsType);
  } catch (const GenericException& exception) {
    if (exception.getMsgID() == SECURITY_MESSAGE) {
      TRACE(TR_MIN,
            "Caught Exception from DirectoryReader::StatFile() : ERROR: Cannot get security info for %s \n",
            attributes.faName.c_str());
      logJobMessage(SECURITY_MESSAGE, "STA0135W", {exception.getCause()});
    } else {
      TRACE(TR_MIN, "DirectoryReader::next() : ERROR: Caught GenericException in native stat() '%s'.\n",
            attributes.faName.c_str());
      logJobMessage(369, "STA0069W", {exception.getCause()});
    }
  }
  // One test for both: a mount inside the tree, and an entry that couldn't be read.
  if (device != scanner_->rootDevice()) attributes.faType = FileAttributes::ENTRY_OTHER_DEVICE;
  return true;
}

}  // namespace agent
