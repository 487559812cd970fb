#include "Scan/statistics/UserOrGroupAccum.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/results/Counters.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

SUserOrGroup& UserOrGroupAccum::totalsOf(const UserOrGroup& identity) {
  const auto key = reinterpret_cast<uintptr_t>(&identity);
  SUserOrGroup* const recent = recent_.placeOf(key);
  if (recent != nullptr && recent->sugIdentity == &identity) return *recent;
  SUserOrGroup& totals = find(identity);
  recent_.placeOf(key) = &totals;
  return totals;
}

SUserOrGroup& UserOrGroupAccum::find(const UserOrGroup& identity) {
  const int32_t key = kind_ == Kind::OWNERS ? identity.ugID : identity.ugGroupID;
  const auto [entry, isNew] = totals_.try_emplace(static_cast<uint32_t>(key));
  SUserOrGroup& totals = entry->second;
  if (isNew) {
    totals.sugFilesystemID = filesystem_.fsID;
    totals.sugTimestamp = filesystem_.fsScanTime;
    totals.sugIdentity = &identity;
    recent_.widenFor(totals_.size());
  }
  return totals;
}

void UserOrGroupAccum::accumulate(Scanner& /*scanner*/, FileAttributes& attributes) {
  const UserOrGroup* identity = kind_ == Kind::OWNERS ? attributes.faOwner : attributes.faGroup;
  if (identity == nullptr) {
    TRACE(TR_MIN, "%s is null for %s\n", kind_ == Kind::OWNERS ? "pInfo>faOwner" : "pInfo->faGroup",
          attributes.faName.c_str());
    return;
  }
  SUserOrGroup& totals = totalsOf(*identity);
  const int64_t size = attributes.faBlocks;
  addTo(totals.sugTotalSize, size);
  if (attributes.faType == FileAttributes::DIRECTORY) addTo(totals.sugDirectoryCount, 1);
  if (!attributes.isFileOrLink()) return;

  addTo(totals.sugFileCount, 1);
  if (size > totals.sug2ndLargestSize) {
    if (size <= totals.sugLargestSize) {
      totals.sug2ndLargestSize = size;
    } else {
      totals.sug2ndLargestSize = std::exchange(totals.sugLargestSize, size);
    }
  }
  const size_t bucket = SizeRanges::bucket(size);
  addTo(totals.sugSizes[bucket], size);
  addTo(totals.sugCounts[bucket], 1);
}

void UserOrGroupAccum::finish(CuStatResults& results) {
  std::vector<std::pair<int32_t, SUserOrGroup>> byId;
  byId.reserve(totals_.size());
  for (auto& [id, totals] : totals_) {
    totals.sugStatisticID = results.srID;
    byId.emplace_back(static_cast<int32_t>(id), std::move(totals));
  }
  totals_.clear();
  recent_.forget();
  std::sort(byId.begin(), byId.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  auto& list = kind_ == Kind::OWNERS ? results.srOwners : results.srGroups;
  list.clear();
  list.reserve(byId.size());
  for (auto& entry : byId) list.push_back(std::move(entry.second));
}

}  // namespace agent
