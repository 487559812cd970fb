#include <gtest/gtest.h>

#include <string>

#include "Common/GenericPrint.h"
#include "Common/VOXCommon/InetAddress.h"
#include "Common/VOXCommon/LdapTree.h"
#include "Common/VoxObjectCreationException.h"
#include "support/TemporaryDirectory.h"

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

TEST(LdapTreeTest, IsReadInAnyOrderAndPrintedInItsOwn) {
  LdapTree tree;
  tree.initializeObject({"ltHasComputers", "ltName", "unknown", "ltTreeID", "ltComputerID", "ltComputerName"},
                        {{"Y", "tree", "x", "3", "4x", ""}});
  EXPECT_THROW(tree.initializeObject({"ltName"}, {}), VoxObjectCreationException);

  const TemporaryDirectory directory;
  GenericPrint gp(GenericPrint::VOX_FORMAT, directory / "result.dat");
  tree.printData(gp);
  EXPECT_EQ(content(directory / "result.dat"),
            "[LdapTree]\n\"3\",\"4\",\"tree\",\"null\",\"null\",\"null\",\"Y\"\n[/LdapTree]\n");
}

}  // namespace
}  // namespace agent::test
