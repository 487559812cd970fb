#include "Scan/statistics/SizeDistAccum.h"

#include "Scan/results/Counters.h"
#include "Scan/results/SSizeDist.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

void SizeDistAccum::accumulate(Scanner& /*scanner*/, FileAttributes& attributes) {
  const size_t bucket = SizeRanges::bucket(attributes.faBlocks);
  addTo(distribution_.szdSizes[bucket], attributes.faBlocks);
  addTo(distribution_.szdCounts[bucket], 1);
}

}  // namespace agent
