#include "Scan/statistics/SummaryAccum.h"

#include "Scan/results/Counters.h"
#include "Scan/results/SSummary.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

void SummaryAccum::accumulate(Scanner& /*scanner*/, FileAttributes& attributes) {
  if (attributes.isFileOrLink()) {
    addTo(summary_.sumFileCount, 1);
  } else if (attributes.faType == FileAttributes::DIRECTORY) {
    addTo(summary_.sumDirectoryCount, 1);
  }
  addTo(summary_.sumTotalSize, attributes.faBlocks);
}

}  // namespace agent
