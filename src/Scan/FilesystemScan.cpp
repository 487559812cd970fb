#include "Scan/FilesystemScan.h"

#include <utility>

#include "Probe/MountsMap.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/DirectoryAttachment.h"
#include "Scan/FilesystemPairing.h"
#include "Scan/FilesystemWalks.h"
#include "Scan/ScanPlan.h"
#include "Scan/StatisticAttachment.h"
#include "Scan/selection/Selection.h"

namespace agent {

int FilesystemScan::doScan(AgentScan& scanObject, int nfsTimeout) {
  TRACE_SCOPE("FilesystemScan::doScan()");
  scanObject.setFilesystems(arrangeFilesystems(std::move(scanObject.getFilesystems())));

  Mounts table;
  MountsMap mounts;
  const int mountsResult = makeMountsMap(mounts, true, table);
  // A table that couldn't be read says nothing about any file system; one that is merely empty says that none
  // is mounted.
  if (mounts.empty() && table.readFailed()) return mountsResult;

  ScanPlan plan;
  plan.givenUp = mountsResult != CLEAN;
  findFilesystems(scanObject.getFilesystems(), mounts, nfsTimeout, plan);
  if (plan.fsRefs.empty()) return plan.givenUp ? GIVEN_UP : CLEAN;

  Selection selection;
  attachStatistics(scanObject.getStatistics(), selection, plan);
  // Other scans are kept away by the locks that the job took before; whoever reads a trace looks for this
  // step.
  TRACE(TR_MAX, "WARNING: Nothing implemented in body of FilesystemScan::lock().\n");
  prepareDirectories(scanObject.getDirectories());
  attachDirectories(scanObject.getDirectories(), selection, plan);
  attachDirectoryStatistics(scanObject.getStatistics(), selection, plan);

  FilesystemWalks(plan, *genericPrint_, observer_, nfsTimeout).run(scanObject.getStatistics());

  sortFilesystemsByID(scanObject.getFilesystems());
  return plan.givenUp ? GIVEN_UP : CLEAN;
}

}  // namespace agent
