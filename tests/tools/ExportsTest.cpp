#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

#include "report/CsvReport.h"
#include "support/TemporaryDirectory.h"
#include "tools/MadeResult.h"
#include "tools/Report.h"

namespace agent::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// Every byte that a name in a result may have.
std::string everyByte() {
  std::string bytes = "/";
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '\n' && byte != '\r') bytes += static_cast<char>(byte);
  }
  return bytes;
}

std::string fromHexadecimal(const std::string& digits) {
  std::string bytes;
  for (size_t at = 0; at < digits.size(); at += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

TEST(ExportsTest, JsonIsValidWhateverTheNamesAndHasTheirBytes) {
  const TemporaryDirectory directory;
  const std::string bytes = everyByte();
  const std::string result = madeResult(bytes, {{"of directories", "of\xFF directories"},
                                                {"ugDomainID", "unknown"},
                                                {"\"{gecos}\",\"-1\"", "\"{gecos}\",\"\xFEtext\""}});
  std::istringstream lines(Report({"--json", directory.file("result", result)}).out);
  std::map<std::string, std::string> places;  // the bytes of what lines say that they belong to
  std::string unknown;
  for (std::string line; std::getline(lines, line);) {
    const nlohmann::json record = nlohmann::json::parse(line);
    const nlohmann::json filesystem = record.at("filesystem");
    if (filesystem.contains("mountPointBytes")) places["mountPoint"] = filesystem["mountPointBytes"];
    if (record.contains("directoryBytes")) places["directory"] = record["directoryBytes"];
    if (record.contains("statistic") && record["statistic"].contains("nameBytes")) {
      places["statistic"] = record["statistic"]["nameBytes"];
    }
    if (record["class"] == "SDirectory") unknown = record["UserOrGroupUser"].value("unknownBytes", unknown);
  }
  EXPECT_EQ(fromHexadecimal(places["mountPoint"]), bytes + "/");
  EXPECT_EQ(fromHexadecimal(places["directory"]), bytes + "/docs/inner");
  EXPECT_EQ(fromHexadecimal(places["statistic"]), "of\xFF directories");
  EXPECT_EQ(fromHexadecimal(unknown), "\xFEtext");
}

TEST(ExportsTest, CellsOfSpreadsheetsAreNoFormulas) {
  for (const auto& [text, cell] : std::vector<std::pair<std::string, std::string>>{
           {"plain", "plain"},
           {"", ""},
           {"=1+1", "'=1+1"},
           {"+1", "'+1"},
           {"-1", "'-1"},
           {"@SUM(A1)", "'@SUM(A1)"},
           {"\t=1", "'\t=1"},
           {"\r=1", "\"'\r=1\""},
           {"  =1", "'  =1"},
           {"\uFF1D1", "'\uFF1D1"},
           {"'text", "''text"},
           {"a=b", "a=b"},
           {"=HYPERLINK(\"x\",\"y\")", "\"'=HYPERLINK(\"\"x\"\",\"\"y\"\")\""},
           {"a\nb", "\"a\nb\""}}) {
    EXPECT_EQ(tools::csvCell(text), cell);
  }
}

TEST(ExportsTest, CsvPrintsATableWithWhatItsRowsBelongTo) {
  const TemporaryDirectory directory;
  const std::string result =
      madeResult("/\xFF, \"one\"", {{"\"of directories\"", "\"=cmd|x\""},
                                    {"null\",\"=cmd", "\",\"=cmd"},
                                    {"\"1000000000000\",\"1000000000000\"", "\"1\",\"-1\""}});
  const std::string file = directory.file("daily.0001_scan.00000007.dat", result);
  const std::string run = "2026-11-24 22:40:53,'-h,daily,1,7,";
  const std::string one = "\"/\\xFF, \"\"one\"\"";
  EXPECT_EQ(Report({"--csv", "owner", "--host=-h", file}).out,
            "run_time,host,job,schedule,run_number,mount_point,statistic_id,statistic_name,directory,place,"
            "owner_id,"
            "owner_name,gone,files,directories,bytes,largest_bytes\r\n" +
                run + "/two/,5,NRVUser.SQL_NAME_SUMMARY_FILESYS,,1,0,root,false,0,1,0,0\r\n" + run + one +
                "/\",5,NRVUser.SQL_NAME_SUMMARY_FILESYS,,1,54321,54321,true,2,0,49152,45056\r\n" + run + one +
                "/\",5,NRVUser.SQL_NAME_SUMMARY_FILESYS,,2,0,root,false,5,4,28672,16384\r\n");
  const std::string statistics = Report({"--csv", "statistic", "--host", "-h", file}).out;
  EXPECT_THAT(statistics,
              HasSubstr("\r\n" + run + one + "/\",11,8,'=cmd|x,," + one + "/docs/inner\",1,0,45056\r\n"));
  // Times in front of the epoch are rounded down.
  EXPECT_THAT(
      Report({"--csv", "monitored_directory", file}).out,
      HasSubstr("/docs\",0,1970-01-01 00:00:00,1969-12-31 23:59:59,1,0,0,root,false,0,root,false\r\n"));

  const Report cut({"--csv", "owner", directory.file("cut", result.substr(0, result.size() - 14))});
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(cut.out, "");
  EXPECT_THAT(cut.err, HasSubstr("it is not whole: line "));
}

TEST(ExportsTest, MetricsAreValidWhateverTheNamesAndReplaceTheirFileAsAWhole) {
  const TemporaryDirectory directory;
  // Two statistics of one name, and an owner twice.
  const std::string twice = "\"54321\",\"0\",\"54321\"";
  const std::string result = madeResult(
      "/o\"n\\e\xFF\x1B\xE2\x80\xAE",
      {{"sockets and devices", "executable files and block devices"},
       {"[UserOrGroup]\n\"0\",\"0\",\"root\",\"{gecos}\"", "[UserOrGroup]\n" + twice + ",\"null\""}});
  const std::string file = directory.file("daily.0001_scan.00000007.dat", result);
  const std::string metrics = directory.file("scan.prom", "before");
  ASSERT_EQ(Report({"--prometheus", metrics, file}).status, 0);
  const std::string text = content(metrics);
  EXPECT_EQ(Report({"--prometheus=-", file}).out, text);
  EXPECT_THAT(directory.names(), ::testing::ElementsAre("daily.0001_scan.00000007.dat", "scan.prom"));
  struct stat status = {};
  ASSERT_EQ(::stat(metrics.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0644U);

  const std::string one = R"({scan_job="daily",filesystem="/o\"n\\\\e\\xFF\\x1B\\xE2\\x80\\xAE/")";
  EXPECT_THAT(text, StartsWith("# HELP scan_filesystem_capacity_bytes Space that the file system offers.\n"
                               "# TYPE scan_filesystem_capacity_bytes gauge\n"
                               "scan_filesystem_capacity_bytes{scan_job=\"daily\",filesystem=\"/two/\"} 0\n"
                               "scan_filesystem_capacity_bytes" +
                               one + "} 512000\n"));
  const std::string ofStatistic = one + R"(,statistic="NRVUser.SQL_NAME_SUMMARY_FILESYS",directory="")";
  for (const std::string& sample :
       {"scan_filesystem_scan_timestamp_seconds" + one + "} 1795560053",
        "scan_owner_bytes" + ofStatistic + ",owner=\"54321\",owner_id=\"54321\"} 49152",
        "scan_group_files" + ofStatistic + ",group=\"root\",group_id=\"0\"} 5",
        "scan_type_bytes" + ofStatistic + ",type=\".txt\"} 65536",
        "scan_age_class_entries" + ofStatistic + ",since=\"last use\",age=\"more than a year\"} 14",
        "scan_size_class_bytes" + ofStatistic + ",size=\"10 KiB to 100 KiB\"} 73728",
        "scan_statistic_bytes" + one +
            ",statistic=\"of directories\",directory=\"/o\\\"n\\\\\\\\e\\\\xFF\\\\x1B"
            "\\\\xE2\\\\x80\\\\xAE/docs/inner\"} 45056",
        "scan_size_class_entries" + one +
            ",statistic=\"admin.executable files and block devices (12)\","
            "directory=\"\",size=\"up to 1 KiB\"} 2"}) {
    EXPECT_THAT(text, HasSubstr("\n" + sample + "\n"));
  }
  std::set<std::string> series;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(series.insert(line.substr(0, line.rfind(' '))).second) << line;
  }

  directory.file("cut.dat", result.substr(0, result.size() - 14));
  EXPECT_EQ(Report({"--prometheus", metrics, directory / "cut.dat"}).status, 1);
  EXPECT_EQ(content(metrics), text);
  directory.file("directory/file");
  EXPECT_THAT(Report({"--prometheus", directory / "directory", file}).err, HasSubstr("\" stays as it is: "));
  EXPECT_EQ(directory.names().size(), 4U);  // nothing is left beside it

  if (std::string_view(PROMTOOL).empty()) GTEST_SKIP() << "promtool, of Debian's prometheus, isn't installed";
  EXPECT_EQ(
      std::system((PROMTOOL " check metrics < " + metrics + " > " + (directory / "said") + " 2>&1").c_str()),
      0);
  EXPECT_EQ(content(directory / "said"), "");
}

TEST(ExportsTest, OneFormIsAskedForAtATimeAndOneFileButByTheDatabase) {
  for (const auto& [arguments, reason] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"--json", "--csv", "run", "a"}, "--json excludes --csv"},
           {{"--prometheus", "-", "--sqlite", "db", "a"}, "--prometheus excludes --sqlite"},
           {{"--csv", "users", "a"}, "users not in {run,filesystem"},
           {{"--sqlite", "", "a"}, "--sqlite: an empty name is none"},
           {{"--csv", "run", "a", "b"},
            "one at a time, and only --sqlite, --postgres and --merge take several"}}) {
    const Report refused(arguments);
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr(reason));
  }
}

}  // namespace
}  // namespace agent::test
