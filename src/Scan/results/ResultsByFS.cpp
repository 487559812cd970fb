#include "Scan/results/ResultsByFS.h"

#include <utility>

#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/results/SMonDir.h"

namespace agent {

ResultsByFS::ResultsByFS(AnalysisSource* source)
    : Object("ResultsByFS"),
      rfDirOrFS(source),
      aboutDirectory_(dynamic_cast<const SMonDir*>(source) != nullptr) {}

ResultsByFS::ResultsByFS(std::unique_ptr<Filesystem> source)
    : Object("ResultsByFS"), rfDirOrFS(source.get()), ownSource_(std::move(source)) {}

ResultsByFS::~ResultsByFS() {
  // The source itself may be gone by now.
  TRACE(TR_MIN, "ResultsByFS::~ResultsByFS() : INFO: The actual ResultsByFS results are for a %s.\n",
        aboutDirectory_ ? "monitored directory" : "filesystem");
}

const RecordTable<ResultsByFS>& ResultsByFS::table() {
  static constexpr RecordTable<ResultsByFS> TABLE(
      ScanVOXTags::RESULTS_BY_FS,
      "A statistic's results on one source: `CuStatResults`, then the source, a `Filesystem` or an "
      "`SMonDir`. In "
      "a definition, a file system that a statistic of `sdType` 4 is for.");
  return TABLE;
}

void ResultsByFS::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void ResultsByFS::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::RESULTS_BY_FS);
  if (rfResults) rfResults->printData(print);
  if (rfDirOrFS != nullptr) {
    TRACE(TR_MIN,
          "ResultsByFS::printData() : INFO: Invoking printData() for the given AnalysisSource instance.\n");
    if (const auto* directory = dynamic_cast<const SMonDir*>(rfDirOrFS)) directory->printData(print);
    if (Filesystem* filesystem = sourceFilesystem()) filesystem->printData(print, false);
  }
  print.endNode(ScanVOXTags::RESULTS_BY_FS);
}

Filesystem* ResultsByFS::sourceFilesystem() const {
  return dynamic_cast<Filesystem*>(rfDirOrFS);
}

std::optional<int32_t> ResultsByFS::filesystemID() const {
  if (const auto* directory = dynamic_cast<const SMonDir*>(rfDirOrFS)) return directory->smFilesystemID;
  if (const Filesystem* filesystem = sourceFilesystem()) return filesystem->fsID;
  return std::nullopt;
}

}  // namespace agent
