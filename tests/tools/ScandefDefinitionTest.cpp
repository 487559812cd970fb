#include "definition/ScandefDefinition.h"

#include <gmock/gmock.h>

#include <array>
#include <sstream>

#include "definition/ScandefOptions.h"
#include "support/TemporaryDirectory.h"

namespace agent::scandef {
namespace {

using test::content;

/// The words of a command line, which may hold blanks: "--job|nightly".
std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream stream(text);
  for (std::string word; std::getline(stream, word, '|');) all.push_back(word);
  return all;
}

/// What a command line asks for, on a host with nothing mounted.
Request requestOf(const std::vector<std::string>& arguments) {
  ScandefOptions options{MountKinds()};
  EXPECT_EQ(options.parse(arguments), std::nullopt);
  return options.request();
}

std::string definitionOf(const std::vector<std::string>& arguments) {
  return definitionText(requestOf(arguments).definition);
}

/// Command lines with the reason for which each is refused.
template <typename Error>
void expectRefusals(const std::vector<std::pair<std::vector<std::string>, std::string>>& table) {
  for (const auto& [arguments, reason] : table) {
    try {
      ADD_FAILURE() << definitionOf(arguments);
    } catch (const Error& error) {
      EXPECT_EQ(error.what(), reason);
    }
  }
}

TEST(ScandefDefinitionTest, EverythingThatCanBeAskedFor) {
  EXPECT_EQ(definitionOf(words(R"(--job=nightly|--computer|17|--filesystem|5=/srv/a"b|--filesystem|/var|)"
                               R"(--type|ext4|--monitor|pro*|--monitor=3=/var/x|--statistic|all, of it|)"
                               R"(--id|1|--alert|9|--creator|anna|--description|for "me"|--share|2|)"
                               R"(--largest-directories|1|--largest-files|2|--least-accessed|3|)"
                               R"(--oldest-not-backed-up|4|--largest-orphans|5|--oldest-orphans|6|--summary|)"
                               R"(--size-distribution|--by-owner|--by-group|--by-access|--by-modification|)"
                               R"(--largest-file-types|32767|--daily-retention|7|--weekly-retention|8|)"
                               R"(--monthly-retention|9|--where=type != file|--only|/var|--statistic|dirs|)"
                               R"(--directories|--where|everything)")),
            content(EXPECTED "/definition.dat"));
}

TEST(ScandefDefinitionTest, WhatTheFormatCannotHoldIsRefused) {
  expectRefusals<std::invalid_argument>({
      {{"--filesystem", "/a\nb"}, "the format can't hold a text with a line end in it: '/a\\x0Ab'"},
      {{"--filesystem", "1=/a", "--filesystem", "1=/b"}, "two file systems have the id 1"},
      {{"--filesystem", "/a", "--statistic", "a", "--id", "4", "--statistic", "b", "--id=4"},
       "two statistics have the id 4"},
  });
}

TEST(ScandefOptionsTest, AnUnusableCommandLineIsRefusedWithTheReason) {
  expectRefusals<UsageError>({
      {{}, "nothing to scan: name a mount point"},
      {{"--files\x1B", "/"}, "The following argument was not expected: --files\\x1B"},
      {{"--filesystem"}, "--filesystem: 1 required MOUNTPOINT missing"},
      {{"--filesystem", "/", "--type", "zfs"},
       "--type: 'zfs' is none of ext2 ext3 ext4 reiserfs vxfs vfat tmpfs nfs cifs clfs mxfs fake"},
      {{"--filesystem", "2147483647=/", "--filesystem", "/home"}, "--filesystem: no id is left: give one"},
      {{"--statistic", "x", "--largest-files", "32768"},
       "--largest-files: '32768' is no number from 0 to 32767"},
      {{"--statistic", "x", "--only", "/"}, "--only: '/' is none of the file systems"},
      {{"--statistic", "x", "--where", "type=\tflie"},
       "--where: column 7: expected a type: file, link, directory, fifo, socket, device or other\n"
       "  type= flie\n"
       "        ^"},
      {{"--statistic", "x", "--where", "name like '\xE6\xAC\xA2\xE2\x80\xAE' or orpan"},
       "--where: column 31: there is no test \"orpan\"\n"
       "  name like '\xE6\xAC\xA2\\xE2\\x80\\xAE' or orpan\n"
       "                                ^"},
      {{"--filesystem", "/", "--statistic", "x", "--directories"},
       "--directories: there is none to --monitor"},
      {{"--filesystem", "/", "--monitor", "/m", "--statistic", "x", "--directories", "--only", "/"},
       "--directories and --only exclude each other"},
      {{"--filesystem", "/srv", "--filesystem", "/m", "--monitor", "/srv2/x"},
       "--monitor: '/srv2/x': it lies on no --filesystem: begin it with a mount point, or without a slash to "
       "have it below each"},
      {{"--filesystem", "/m/[x]", "--monitor", "a"},
       "--monitor: 'a': below '/m/[x]' nothing can be monitored: the job takes that name for a pattern, "
       "which "
       "doesn't match it"},
      {{"--filesystem", "/m", "--monitor", "/m/%/%"},
       "--monitor: '/m/%/%': nothing matches \"%/%\" at the end: write \"%\" once"},
      {{"--filesystem", "/", "--job", "a/b"}, "--job: 'a/b' can't be part of a file's name"},
      {{"--filesystem", "/", "--install", "/opt", "-o", "x"},
       "--install names the file itself: leave --output out"},
  });
}

TEST(ScandefOptionsTest, AMonitoredDirectoryLiesWhereTheJobFindsIt) {
  for (const auto& [mountPoint, directory, path] : std::vector<std::array<std::string, 3>>{
           {"/m", "a", "/m/a"},
           {"/", "a*", "/a*"},
           {"/m", "/m/", "/m/"},
           {"/m", "\\m\\a", "\\m\\a"},
           {"/s/m", "/s/[m]", "/s/[m]"},
           // Refused.
           {"/s/m", "/s/[!m]", ""},
           {"/s/m", "/*/m/a", ""},  // the job compares the mount point byte by byte
           {"host:/m", "x", ""},
       }) {
    std::string placed;
    try {
      placed =
          requestOf({"--filesystem", mountPoint, "--monitor", directory}).definition.directories.at(0).path;
    } catch (const UsageError&) {
    }
    EXPECT_EQ(placed, path) << mountPoint << " " << directory;
  }
}

TEST(ScandefOptionsTest, AnAbsolutePatternThatReachesNothingIsTold) {
  for (const auto& [patterns, remark] : std::vector<std::pair<std::string, std::string>>{
           {"'/home/x', '/h*/%', '/home/*', '/%/x', '/v&*[a-r]/lib/x', '/%', 'x/y', '%/tmp/*'", ""},
           {"'/home/x', '/tmp/*'", "'/tmp/*': with a slash in front it has to begin with a "},
           {"'/home/'", "'/home/': what lies below it is '/home/%'"},
           {"'/var/lib/x'", "'/var/lib/x': with a slash"}}) {
    const std::vector<std::string> remarks =
        requestOf({"--filesystem", "/home", "--filesystem", "/v*r/lib", "--statistic", "x", "--only", "/home",
                   "--statistic", "y", "--where", "orphan and name not like (" + patterns + ")"})
            .remarks;
    EXPECT_EQ(remarks.size(), remark.empty() ? 0U : 1U) << patterns;
    for (const std::string& told : remarks)
      EXPECT_THAT(told, ::testing::StartsWith("--where: nothing that is counted matches " + remark));
  }
}

TEST(ScandefTomlTest, AFileMeansWhatTheOptionsMeanAndItsFaultsAreToldWithTheirPlace) {
  const test::TemporaryDirectory directory;
  const std::string file =
      directory.file("scan.toml",
                     "job = 'nightly'\nrun-number = 7\nmonitor = ['a*', '3=/var/x']\n"
                     "[[filesystem]]\npath = '/srv'\nid = 5\n[[filesystem]]\npath = '/var'\n"
                     "type = 'ext4'\n[[statistic]]\nname = 'all'\nsummary = true\n"
                     "by-owner = false\nlargest-files = 2\nonly = ['/var']\n"
                     "where = \"type != file\"\n");
  EXPECT_EQ(definitionOf({file, "--statistic", "dirs", "--directories"}),
            definitionOf(words("--job|nightly|--filesystem|5=/srv|--filesystem|/var|--type|ext4|--monitor|a*|"
                               "--monitor|3=/var/x|--statistic|all|--summary|--largest-files|2|--only|/var|"
                               "--where|type != file|--statistic|dirs|--directories")));
  for (const auto& [text, reason] : std::vector<std::pair<std::string, std::string>>{
           {"job = \n", "1:7: "},
           {"jobs = 'x'", "1:1: there is no 'jobs' here: expected one of job, computer, "},
           {"filesystem = '/'", "1:14: expected [[filesystem]] in double brackets, one for each"},
           {"[[filesystem]]\npaht = '/'", "1:1: expected a path in this [[filesystem]]"},
           {"filesystems = ['/', ['/home']]", "1:21: expected a text or a number for filesystems"},
           {"[[statistic]]\nname = 'x'\nsummary = 'yes'", "3:11: expected true or false for summary"},
           {"[[statistic]]\nname = 'x'\nlargest-files = 99999",
            "3:17: largest-files: '99999' is no number from"},
           {"[[statistic]]\nname = 'x'\nwhere = 'flie'", "3:9: where: column 1: there is no test \"flie\""},
       }) {
    try {
      ADD_FAILURE() << definitionOf({directory.file("bad.toml", text)});
    } catch (const UsageError& error) {
      EXPECT_THAT(error.what(), ::testing::StartsWith(directory / "bad.toml" + ":" + reason));
    }
  }
}

TEST(ScandefOptionsTest, TheMountTableTellsTheKindOfAFileSystem) {
  MountKinds mounts;
  for (const auto& [place, type] :
       {std::pair("/", "xfs"), {"/home", "ext3"}, {"/home", "ext4"}, {"/net/a", "nfs4"}})
    mounts.add(place, type);
  ScandefOptions options(mounts);
  options.parse({"/home/", "/net/a", "/", "/home/anna", "--filesystem", "/home", "--type", "vfat"});
  std::vector<int> types;
  for (const MountPoint& filesystem : options.request().definition.filesystems)
    types.push_back(filesystem.type);
  EXPECT_THAT(types, ::testing::ElementsAre(23, 14, -1, -1, 1));
  EXPECT_THAT(
      options.request().remarks,
      ::testing::ElementsAre("'/home/anna' is no mount point here: the job finds nothing there. It lies on "
                             "'/home': scan that with --where \"name like 'anna/%'\""));
}

// By the names that the filer has for it: so the job finds the mount.
TEST(ScandefOptionsTest, WhatAFilerExportsStandsBelowItsNameAndExport) {
  MountKinds mounts;
  mounts.add("/net/a", "nfs4", "nas1:/vol/a");
  ScandefOptions options(mounts);
  options.parse({"/net/a", "--monitor", "docs", "--statistic", "in docs", "--directories", "--summary"});
  const std::string text = definitionText(options.request().definition);
  EXPECT_THAT(text, ::testing::HasSubstr(",\"/vol/a\",null,"));
  EXPECT_THAT(text, ::testing::ContainsRegex("\\[NasFiler\\]\n\"1\",\"0\",\"nas1\",\"nas1\","));
  EXPECT_THAT(text, ::testing::HasSubstr("\"/vol/a/docs\""));
  EXPECT_THAT(options.request().remarks,
              ElementsAre(::testing::StartsWith("'/net/a' is '/vol/a' of 'nas1'")));
}

}  // namespace
}  // namespace agent::scandef
