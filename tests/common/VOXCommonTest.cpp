#include <gtest/gtest.h>

#include "Common/VOXCommon/InetAddress.h"

namespace agent::test {
namespace {

TEST(InetAddressTest, NumericHostsAreTheirOwnAddress) {
  const struct {
    std::string host;
    std::string address;
    bool isIPv6;
  } cases[] = {
      {"192.0.2.7", "192.0.2.7", false},
      {"2001:db8::1", "2001:db8::1", true},
      {"2001:0DB8:0::1", "2001:db8::1", true},
      {"", "", false},
      {"no such host", "", false},  // no resolver takes a blank for a name
      {"256.256.256.256.", "", false},
  };
  for (const auto& testCase : cases) {
    EXPECT_EQ(InetAddress::getHostAddress(testCase.host), testCase.address) << testCase.host;
    if (testCase.host.empty()) continue;  // means this host to the resolver
    EXPECT_EQ(InetAddress::isIPv6(testCase.host), testCase.isIPv6) << testCase.host;
  }
}

}  // namespace
}  // namespace agent::test
