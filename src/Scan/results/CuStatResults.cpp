#include "Scan/results/CuStatResults.h"

namespace agent {

const RecordTable<CuStatResults>& CuStatResults::table() {
  static constexpr Column<CuStatResults> COLUMNS[] = {
      column<&CuStatResults::srID>(ScanVOXTags::SR_ID, "the statistic")};
  static constexpr RecordTable<CuStatResults> TABLE(
      ScanVOXTags::SR, "What a statistic has found on one source, in nodes below its row.", COLUMNS);
  return TABLE;
}

void CuStatResults::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void CuStatResults::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::SR);
  table().printData(print, *this);
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
