#include "Scan/AgentScan.h"

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Domain.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/FileType.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/results/SMonDir.h"
#include "Scan/statistics/FileScoreRule.h"

namespace agent {

void AgentScan::inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row = theRow(refHeaderArray, refDataArray,
                          "ERROR: refHeaderArray.size() != refDataArray.size(). VoxObjectCreationException "
                          "will be thrown.");
  if (!row.empty() && refHeaderArray[0] == ScanVOXTags::AS_JOB_NAME) jobName_ = row[0];
  if (row.size() > 1 && refHeaderArray[1] == ScanVOXTags::AS_SCANNING_COMP_ID) {
    scanningCompId_ = toInt32(row[1]);
  }
}

void AgentScan::setFilesystems(FilesystemList filesystems) {
  if (filesystems.empty()) {
    TRACE(TR_MIN, "WARNING: Set local Filesystem reference <m_pFilesystem> to NULL.\n");
  }
  filesystems_ = std::move(filesystems);
}

void AgentScan::printHeader(GenericPrint& print) const {
  const auto printClass = [&](const char* tag, void (*header)(GenericPrint&)) {
    print.beginNode(tag);
    header(print);
  };
  print.beginNode(ScanVOXTags::HEADER);
  print.beginNode(ScanVOXTags::AS);
  print.printHeader({ScanVOXTags::AS_JOB_NAME, ScanVOXTags::AS_SCANNING_COMP_ID});
  printClass(ScanVOXTags::SD, CuStatDef::printHeader);
  printClass(ScanVOXTags::SR, CuStatResults::printHeader);
  Filesystem::printHeader(print);
  printClass(ScanVOXTags::FTP, FileType::printHeader);
  printClass(ScanVOXTags::FTP_SUMM, FileTypeSummary::printHeader);
  printClass(ScanVOXTags::MDS, MonDirSpec::printHeader);
  printClass(ScanVOXTags::RESULTS_BY_FS, ResultsByFS::printHeader);
  printClass(ScanVOXTags::DIR, SDirectory::printHeader);
  printClass(ScanVOXTags::SFILE, SFile::printHeader);
  printClass(ScanVOXTags::SM, SMonDir::printHeader);
  printClass(ScanVOXTags::SZD, SSizeDist::printHeader);
  printClass(ScanVOXTags::SUM, SSummary::printHeader);
  printClass(ScanVOXTags::TD, STimeDist::printHeader);
  printClass(ScanVOXTags::SUG_HIST, SUGHist::printHeader);
  printClass(ScanVOXTags::SUG, SUserOrGroup::printHeader);
  printClass(ScanVOXTags::FSR, FileScoreRule::printHeader);
  printClass(ScanVOXTags::SFILE_CAND, SFileCandidate::printHeader);
  printClass(ScanVOXTags::UG_USER_GROUP, UserOrGroup::printHeader);
  Domain::printHeader(print);
  print.endNode(ScanVOXTags::HEADER);
}

void AgentScan::printData(GenericPrint& print) const {
  print.printData({jobName_, std::to_string(scanningCompId_)});
  printFilesystems(print);
  printMonDirSpecs(print);
  printCuStatDefs(print);
}

void AgentScan::printFilesystems(GenericPrint& print) const {
  for (const auto& filesystem : filesystems_) filesystem->printData(print);
}

void AgentScan::printCuStatDefs(GenericPrint& print) const {
  for (const auto& definition : statistics_) definition->printData(print, 0);
}

void AgentScan::printMonDirSpecs(GenericPrint& print) const {
  for (const auto& spec : directories_) spec->printData(print);
}

}  // namespace agent
