#include "Scan/walk/DirectoryReader.h"

#include "QLMlib/common/ut/Trace.h"
#include "Scan/walk/Scanner.h"

namespace agent {

void DirectoryReader::init(Scanner& scanner, bool isRoot) {
  TRACE_SCOPE("DirectoryReader::init()");
  scanner_ = &scanner;
  isRoot_ = isRoot;
  pathLength_ = scanner.path().size();
  setHandle(open(scanner.path()));
}

bool DirectoryReader::next(int16_t fsType) {
  // The entry's path grows in the record itself: its first pathLength() bytes are this directory's path
  // already, whatever was read in between lay below it.
  FileAttributes& attributes = scanner_->attributes();
  if (!nextEntry(attributes.faName, handle(), fsType)) {
    setHandle(CLOSED);
    return false;
  }
  // One test for both: a mount inside the tree, and an entry that couldn't be read.
  if (stat(attributes.faName, attributes, fsType) != scanner_->rootDevice()) {
    attributes.faType = FileAttributes::ENTRY_OTHER_DEVICE;
  }
  return true;
}

}  // namespace agent
