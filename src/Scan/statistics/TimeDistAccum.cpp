#include "Scan/statistics/TimeDistAccum.h"

#include <algorithm>

#include "Scan/results/Counters.h"
#include "Scan/selection/fileInfo.h"
#include "Scan/walk/FileAttributes.h"
#include "Scan/walk/Scanner.h"

namespace agent {

namespace {

constexpr size_t FUTURE = 9;

/// Compares with all limits at once, in 32 bits: most files are old, and the last limits would be reached one
/// by one.
size_t bucketOf(int64_t age) {
  constexpr auto& LIMITS = TimeDistAccum::m_rangesArray;
  const auto compared = static_cast<int32_t>(std::clamp<int64_t>(age, 0, LIMITS.back() + 1));
  int32_t bucket = 0;
  for (const int32_t limit : LIMITS) bucket += compared > limit ? 1 : 0;
  return static_cast<size_t>(bucket);
}

}  // namespace

void TimeDistAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  const int64_t age = scanner.scanStartSeconds() - time(attributes) / 1000;
  size_t bucket = FUTURE;
  // A day of grace for clocks that differ: what lies less far ahead is new, and enters the average as it is.
  if (age >= -DAY) {
    ++count_;
    addTo(sumOfAges_, age);
    bucket = bucketOf(age);
  }
  addTo(distribution_.tdSizes[bucket], attributes.faBlocks);
  addTo(distribution_.tdCounts[bucket], 1);
}

void TimeDistAccum::finish(CuStatResults& /*results*/) {
  if (count_ > 0) distribution_.tdAverageAge = sumOfAges_ / count_;
}

int64_t AccessedDistAccum::time(const FileAttributes& attributes) const {
  return attributes.faAccessed;
}

int64_t ModifiedDistAccum::time(const FileAttributes& attributes) const {
  return attributes.faModified;
}

}  // namespace agent
