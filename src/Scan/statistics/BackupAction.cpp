#include "Scan/statistics/BackupAction.h"

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

void BackupAction::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::BA_ID, ScanVOXTags::BA_TYPE, ScanVOXTags::BA_DELETE_FILE,
                     ScanVOXTags::BA_OPTIONS, ScanVOXTags::BA_FILE, ScanVOXTags::BA_FILESYSTEM,
                     ScanVOXTags::BA_CONSTRAINT_THRESHOLD});
}

void BackupAction::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::BA);
  print.printData({std::to_string(baID), std::to_string(baType),
                   baDeleteFile ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE, baOptions,
                   "baFile not serialized!", "baFilesystem not serialized!",
                   std::to_string(baConstraintThreshold)});
  print.endNode(ScanVOXTags::BA);
}

}  // namespace agent
