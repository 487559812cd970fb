#include "Scan/statistics/NMost.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace agent::test {

using ::testing::ElementsAre;

// Names tell the order of arrival: "4a" came before "4b".
std::vector<std::string> most(int32_t n, const std::vector<std::string>& arrivals) {
  NMost<std::string> list(n);
  for (const std::string& arrival : arrivals) {
    if (list.mustAdd(std::stoll(arrival))) list.add(arrival);
  }
  return list.takeDescending();
}

TEST(NMost, KeepsTheGreatestAndTheFirstArrivalsAtAKey) {
  EXPECT_THAT(most(2, {"5a", "5b", "5c"}), ElementsAre("5b", "5a"));  // the third doesn't beat 5
  EXPECT_THAT(most(2, {"5a", "7a", "9a"}), ElementsAre("9a", "7a"));
  EXPECT_THAT(most(3, {"4a", "4b", "1a", "2a"}), ElementsAre("4b", "4a", "2a"));
  EXPECT_THAT(most(2, {"3a", "3b", "4a"}), ElementsAre("4a", "3b"));  // of equal keys the first one goes
  EXPECT_THAT(most(1, {"-2a", "-1a", "-9a"}), ElementsAre("-1a"));
  EXPECT_THAT(most(0, {"1a"}), ElementsAre());
}

TEST(NMost, AgreesWithSortingEverything) {
  std::mt19937 random(4711);
  for (int round = 0; round < 200; ++round) {
    const int32_t n = static_cast<int32_t>(random() % 12 + 1);
    NMost<int> list(n);
    // The rule by the book: an ordered list from which the first goes.
    std::vector<std::pair<int64_t, int>> kept;
    for (int arrival = 0; arrival < 100; ++arrival) {
      const int64_t key = static_cast<int64_t>(random() % 15);
      if (list.mustAdd(key)) list.add(arrival);
      std::sort(kept.begin(), kept.end());
      if (kept.size() < static_cast<size_t>(n)) {
        kept.emplace_back(key, arrival);
      } else if (key > kept.front().first) {
        kept.erase(kept.begin());
        kept.emplace_back(key, arrival);
      }
    }
    std::sort(kept.rbegin(), kept.rend());
    std::vector<int> expected;
    for (const auto& entry : kept) expected.push_back(entry.second);
    ASSERT_EQ(list.takeDescending(), expected) << "round " << round;
  }
}

}  // namespace agent::test
