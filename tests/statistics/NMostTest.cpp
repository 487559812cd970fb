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

}  // namespace agent::test
