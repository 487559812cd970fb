#include "Scan/AgentScan.h"

#include "Probe/Domain.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/FileType.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/results/SMonDir.h"
#include "Scan/statistics/FileScoreRule.h"

namespace agent {

namespace {

template <typename Record>
void printClass(GenericPrint& print) {
  print.beginNode(Record::table().tag());
  Record::printHeader(print);
}

}  // namespace

const RecordTable<AgentScan>& AgentScan::table() {
  // Unlike those of other classes these go by their places as well.
  static constexpr Column<AgentScan> COLUMNS[] = {
      column<&AgentScan::jobName_>(ScanVOXTags::AS_JOB_NAME, "name of the job").onlyAt(0).emptyAs(""),
      column<&AgentScan::scanningCompId_>(ScanVOXTags::AS_SCANNING_COMP_ID, "the computer that scans")
          .onlyAt(1)};
  static constexpr RecordTable<AgentScan> TABLE(
      ScanVOXTags::AS, "The job, around all other nodes. In a result it has no row.", COLUMNS);
  return TABLE;
}

void AgentScan::inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  table().read(*this, refHeaderArray,
               theRow(refHeaderArray, refDataArray,
                      "ERROR: refHeaderArray.size() != refDataArray.size(). VoxObjectCreationException "
                      "will be thrown."));
}

void AgentScan::setFilesystems(FilesystemList filesystems) {
  if (filesystems.empty()) {
    TRACE(TR_MIN, "WARNING: Set local Filesystem reference <m_pFilesystem> to NULL.\n");
  }
  filesystems_ = std::move(filesystems);
}

void AgentScan::printHeader(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::HEADER);
  print.beginNode(ScanVOXTags::AS);
  table().printHeader(print);
  printClass<CuStatDef>(print);
  printClass<CuStatResults>(print);
  Filesystem::printHeader(print);
  printClass<FileType>(print);
  printClass<FileTypeSummary>(print);
  printClass<MonDirSpec>(print);
  printClass<ResultsByFS>(print);
  printClass<SDirectory>(print);
  printClass<SFile>(print);
  printClass<SMonDir>(print);
  printClass<SSizeDist>(print);
  printClass<SSummary>(print);
  printClass<STimeDist>(print);
  printClass<SUGHist>(print);
  printClass<SUserOrGroup>(print);
  printClass<FileScoreRule>(print);
  printClass<SFileCandidate>(print);
  printClass<UserOrGroup>(print);
  Domain::printHeader(print);
  print.endNode(ScanVOXTags::HEADER);
}

void AgentScan::printData(GenericPrint& print) const {
  table().printData(print, *this);
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
