// The programs as "cmake --install" puts them on a host, one after the other as a person uses them.

#include <gmock/gmock.h>

#include <fstream>

#include "system/SystemTest.h"

namespace agent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class InstallTest : public SystemTest {
 protected:
  Outcome start(const std::string& program, const std::vector<std::string>& arguments) const {
    Launch launch;
    launch.program = installed_ / ("bin/" + program);
    launch.arguments = arguments;
    return run(launch);
  }

  const std::filesystem::path installed_ = tree_.room("installed");
};

TEST_F(InstallTest, ADefinitionIsWrittenScannedAndShown) {
  shell("'" CMAKE_PROGRAM "' --install '" BUILD_TREE "' --prefix '" + installed_.string() + "'");
  EXPECT_EQ(start("scan", {"-version"}).out, "5.2.4.1\n");
  EXPECT_THAT(start("scandef", {"--help"}).out, StartsWith("Usage: scandef"));
  EXPECT_THAT(start("scanreport", {"--help"}).out, StartsWith("Usage: scanreport"));
  for (const char* page : {"scan", "scandef", "scanreport"}) {
    EXPECT_THAT(content(installed_ / "share/man/man1" / (std::string(page) + ".1")), HasSubstr(".TH"));
  }

  const Outcome written = start("scandef", {"--filesystem", data(), "--statistic", "all", "--summary",
                                            "--install", installed_, "--job", "by hand", "--server", "srv"});
  EXPECT_EQ(written.status, 0) << written.err;
  // It tells the command line that starts the job.
  const size_t line = written.out.find("\n  ");
  ASSERT_NE(line, std::string::npos) << written.out;
  EXPECT_EQ(shell(written.out.substr(line)), "");
  const std::string counted = "-- scandef.all\n  counted       2 files, 1 directories, 8.00 KiB allocated\n";
  const Outcome shown = start("scanreport", {installed_ / "output/srv/by hand.0001_scan.00000001.dat"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_THAT(shown.out, HasSubstr(counted));

  // All of it in one, from a file that people write; a run that gives something up ends with its code.
  const std::string definition = tree_.room("toml") + "/home.toml";
  for (const auto& [filesystem, code] : {std::pair(std::string(data()), 0), {data() + "/none", 4}}) {
    std::ofstream(definition) << "filesystems = ['" << filesystem
                              << "']\nstatistic = [{name = 'all', summary = true}]\n";
    const Outcome scanned = start("scandef", {definition, "--run"});
    EXPECT_EQ(scanned.status, code) << scanned.err;
    EXPECT_EQ(scanned.out.find(counted) != std::string::npos, code == 0) << scanned.out;
  }
}

}  // namespace
}  // namespace agent::test
