#include "Scan/results/CuStatResults.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

void CuStatResults::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::SR_ID});
}

void CuStatResults::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::SR);
  print.printData({std::to_string(srID)});
  for (const SDirectory& directory : srLargestDirectories) directory.printData(print, true);
  for (const auto* list :
       {&srLargestFiles, &srLeastAccessed, &srOldestNotBackedUp, &srLargestOrphans, &srOldestOrphans}) {
    for (const SFile& file : *list) file.printData(print, true);
  }
  for (const FileTypeSummary& fileType : srFileTypes) fileType.printData(print);
  if (srSummary) srSummary->printData(print);
  if (srSizeDist) srSizeDist->printData(print);
  for (const auto* list : {&srOwners, &srGroups}) {
    for (const SUserOrGroup& totals : *list) totals.printData(print, true);
  }
  for (const auto* times : {&srAccessed, &srModified}) {
    if (*times) (*times)->printData(print);
  }
  print.endNode(ScanVOXTags::SR);
}

}  // namespace agent
