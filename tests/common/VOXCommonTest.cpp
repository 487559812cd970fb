#include <gtest/gtest.h>

#include "Common/VOXCommon/InetAddress.h"

namespace agent::test {

TEST(InetAddressTest, NumericHostsAreTheirOwnAddress) {
  const std::tuple<std::string, std::string, bool> cases[] = {
      {"192.0.2.7", "192.0.2.7", false},
      {"2001:db8::1", "2001:db8::1", true},
      {"2001:0DB8:0::1", "2001:db8::1", true},
      {"", "", false},
      {"no such host", "", false},  // no resolver takes a blank for a name
      {"256.256.256.256.", "", false},
  };
  for (const auto& [host, address, isIPv6] : cases) {
    EXPECT_EQ(InetAddress::getHostAddress(host), address) << host;
    if (host.empty()) continue;  // means this host to the resolver
    EXPECT_EQ(InetAddress::isIPv6(host), isIPv6) << host;
  }
}

}  // namespace agent::test
