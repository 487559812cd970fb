#include <gmock/gmock.h>

#include <fstream>

#include "citizen/PrivateEtc.h"
#include "citizen/Results.h"
#include "citizen/SlowMount.h"
#include "common/TemporaryDirectory.h"
#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;

using Words = std::vector<std::string>;

/// A line of the mount table: the directory "A" of the test stands for the mount of an export.
struct Mount {
  std::string source;
  std::string directory;
  std::string type = "nfs";
};

struct Filer {
  std::string networkName;
  std::string name;
  std::string address;
  int osType = 1;
};

Record withFiler(Record filesystem, const Filer& filer, int computer = 99) {
  return filesystem.add(
      nasFiler(computer, filer.name, filer.networkName, filer.osType).set("nfIPAddress", filer.address));
}

/// Mounts of filers, which are directories that a mount table of our own calls so. Each holds one file,
/// "in-A", so a result shows which was walked.
class FilerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!etc_) GTEST_SKIP() << etc_.whyNot();
    for (const char* name : {"A", "B", "C"}) std::ofstream(tree_.room(name) + "/in-" + name) << "content";
  }

  void mounts(const std::vector<Mount>& table) const {
    Words lines;
    for (const Mount& each : table)
      lines.push_back(each.source + " " + tree_.room(each.directory) + " " + each.type);
    etc_.mounts(lines);
  }

  Outcome scan(Definition definition, const Words& options = {}) const {
    definition.add(statistic(5, 3, "all")
                       .set("sdSummary", "Y")
                       .set("sdLargestFiles", 100)
                       .set("sdLargestDirectories", 100));
    tree_.define(definition.text());
    return tree_.scan(options);
  }

  /// What the job logged about mounts: between its start and the first walk.
  Words mountLog() const {
    Words log;
    for (const std::string& line : tree_.logLines()) {
      if (line.starts_with("STA0103W") || line.starts_with("NAA")) log.push_back(line);
    }
    return log;
  }

  InstallTree tree_;
  PrivateEtc etc_{tree_.scratch()};
};

TEST_F(FilerTest, AFileSystemIsFoundInTheMountTableByAnyOfItsKeys) {
  struct Case {
    const char* what;
    std::vector<Mount> table;
    Filer filer;
    std::string mountPoint;
    std::string walked;    ///< the file that is found; empty: the file system is not
    std::string key = {};  ///< that STA0103W shows then
  };
  const Words HOSTS{"10.1.2.3 filer1", "10.9.9.9 elsewhere", "fd00::1 filer6", "10.1.2.7 filer7",
                    "10.1.2.8 filer7"};
  const std::vector<Case> cases = {
      {"by its network name", {{"net1:/vol/a", "A"}}, {"net1", "", ""}, "/vol/a", "/vol/a/in-A"},
      {"by its name", {{"name1:/vol/a", "A"}}, {"net1", "name1", ""}, "/vol/a", "/vol/a/in-A"},
      {"by its address", {{"10.7.7.7:/vol/a", "A"}}, {"net1", "name1", "10.7.7.7"}, "/vol/a", "/vol/a/in-A"},
      {"the network name comes first, then the name, then the address",
       {{"10.7.7.7:/vol/a", "A"}, {"name1:/vol/a", "B"}, {"net1:/vol/a", "C"}},
       {"net1", "name1", "10.7.7.7"},
       "/vol/a",
       "/vol/a/in-C"},
      {"hosts are the same in either case",
       {{"NET1:/vol/a", "A"}},
       {"Net1", "", ""},
       "/vol/a",
       "/vol/a/in-A"},
      {"paths are not", {{"net1:/vol/A", "A"}}, {"net1", "", ""}, "/vol/a", "", "net1:/vol/a"},
      {"blanks around a host are no part of it",
       {{"net1:/vol/a", "A"}},
       {"  net1 ", "", ""},
       "/vol/a",
       "/vol/a/in-A"},
      {"any version of the protocol",
       {{"net1:/vol/a", "A", "nfs4"}},
       {"net1", "", ""},
       "/vol/a",
       "/vol/a/in-A"},
      {"what a host's own server shows is no mount",
       {{"net1:/vol/a", "A", "nfsd"}, {"none", "B", "tmpfs"}},
       {"net1", "", ""},
       "/vol/a",
       "",
       "net1:/vol/a"},
      {"the first of several entries",
       {{"net1:/vol/a", "A"}, {"net1:/vol/a", "B"}},
       {"net1", "", ""},
       "/vol/a",
       "/vol/a/in-A"},
      {"mounted by name, wanted by address",
       {{"filer1:/vol/a", "A"}},
       {"", "", "10.1.2.3"},
       "/vol/a",
       "/vol/a/in-A"},
      {"an address in the table comes before one that is found out",
       {{"filer1:/vol/a", "A"}, {"10.1.2.3:/vol/a", "B"}},
       {"", "", "10.1.2.3"},
       "/vol/a",
       "/vol/a/in-B"},
      {"mounted by address, wanted by a name in the place of the address",
       {{"10.1.2.3:/vol/a", "A"}},
       {"", "", "filer1"},
       "/vol/a",
       "/vol/a/in-A"},
      {"another host's address",
       {{"elsewhere:/vol/a", "A"}},
       {"", "", "10.1.2.3"},
       "/vol/a",
       "",
       "10.1.2.3:/vol/a"},
      {"an address of the newer kind stands in brackets",
       {{"filer6:/vol/a", "A"}},
       {"", "", "[fd00::1]"},
       "/vol/a",
       "/vol/a/in-A"},
      {"of several addresses the last counts",
       {{"filer7:/vol/a", "A"}},
       {"", "", "10.1.2.8"},
       "/vol/a",
       "/vol/a/in-A"},
      {"a host without an address", {{"nowhere:/vol/a", "A"}}, {"nowhere", "", ""}, "/vol/a", "/vol/a/in-A"},
      {"the root volume of a filer", {{"net1:/", "A"}}, {"net1", "", ""}, "vol/vol0", "vol/vol0/in-A"},
      {"for each host in turn", {{"name1:/", "A"}}, {"net1", "name1", ""}, "vol/vol0", "vol/vol0/in-A"},
      {"with a slash in front it is a volume like any other",
       {{"net1:/", "A"}},
       {"net1", "", ""},
       "/vol/vol0",
       "",
       "net1:/vol/vol0"},
      {"and is found as such",
       {{"net1:/", "A"}, {"net1:/vol/vol0", "B"}},
       {"net1", "", ""},
       "/vol/vol0",
       "/vol/vol0/in-B"},
      {"of the other shape: its root volume, with the slash",
       {{"net1:/", "A"}},
       {"net1", "name1", "", 23},
       "/vol/vol0",
       "/vol/vol0/in-A"},
      {"of the other shape: without it, or another volume, only the name",
       {{"net1:/", "A"}, {"name1:/vol/vol0", "B"}},
       {"net1", "name1", "", 23},
       "vol/vol0",
       "",
       "name1"},
      {"a filer that has no host", {{"net1:/vol/a", "A"}}, {"", " ", ""}, "/vol/a", "", "<NULL>"},
      {"the directory of the mount is no key",
       {{"net1:/vol/a", "A"}},
       {"other", "", ""},
       tree_.room("A"),
       "",
       "other:" + tree_.room("A")},
  };
  etc_.hosts(HOSTS);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    fs::remove(tree_.logFile());
    mounts(c.table);

    EXPECT_EQ(scan(Definition().add(withFiler(filesystem(1, c.mountPoint, 14), c.filer))).status,
              c.walked.empty() ? 4 : 0);

    if (c.walked.empty()) {
      EXPECT_THAT(
          mountLog(),
          ElementsAre(
              "STA0103W The file system \"" + c.key +
              "\" is not mounted on this host. It is not scanned; the scan goes on with the others."));
    } else {
      const ResultFile result(tree_.result());
      EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre(c.walked));
      EXPECT_THAT(mountLog(), ElementsAre());
    }
  }
}

TEST_F(FilerTest, LocalFileSystemsAreFoundByTheirMountPoint) {
  struct Case {
    const char* what;
    std::vector<Mount> table;
    int status;
  };
  for (const Case& c :
       {Case{"of any kind that isn't known", {{"none", "A", "newfs"}}, 0},
        Case{"the first of several: the second would have a device that isn't there",
             {{"none", "A", "tmpfs"}, {"/nowhere", "A", "ext4"}},
             0},
        Case{"an export is found by its source alone", {{"net1:/vol/a", "A"}}, 4},
        Case{"a kind that is never scanned", {{"none", "A", "proc"}, {"none", "B", "tmpfs"}}, 4},
        Case{"a device that can't be read", {{"/nowhere", "A", "ext4"}}, 4}}) {
    SCOPED_TRACE(c.what);
    mounts(c.table);
    EXPECT_EQ(scan(Definition().add(filesystem(1, tree_.room("A")))).status, c.status);
  }
}

TEST_F(FilerTest, AMountPointWithBlanksIsReadAsTheTableWritesIt) {
  std::ofstream(tree_.room("my data") + "/file") << "content";
  etc_.mounts({"none " + tree_.scratch() + "/my\\040data tmpfs"});

  EXPECT_EQ(scan(Definition().add(filesystem(1, tree_.scratch() + "/my data"))).status, 0);
}

TEST_F(FilerTest, ABrokenSourceIsToldAndTheOthersAreKept) {
  mounts({{"net1/vol/a", "A"},
          {"net1:/vol/b", "B"},
          {":/vol/a", "A"},
          {"net1:vol", "A"},
          {"none", "C", "tmpfs"}});

  EXPECT_EQ(scan(Definition()
                     .add(withFiler(filesystem(1, "/vol/b", 14), {"net1", "", ""}))
                     .add(filesystem(2, tree_.room("C"))))
                .status,
            4);

  const auto leftOut = [](const std::string& source) {
    return "NAA0039W The mount \"" + source +
           "\" is left out: the source of a network mount has the form \"host:/path\". The scan goes on.";
  };
  EXPECT_THAT(mountLog(), ElementsAre(leftOut("net1/vol/a"), leftOut(":/vol/a"), leftOut("net1:vol")));
  const ResultFile result(tree_.result());
  EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre("/vol/b/in-B"));
  EXPECT_THAT(namesIn(result, result.results(5, 2)), ElementsAre(tree_.room("C") + "/in-C"));
}

TEST_F(FilerTest, AnEmptyOrMissingTableFindsNothing) {
  etc_.mounts({});
  EXPECT_EQ(scan(Definition().add(filesystem(1, tree_.room("A")))).status, 0)
      << "nothing has failed: the job ends with an empty result";

  fs::remove("/etc/mtab");
  fs::remove(tree_.logFile());
  EXPECT_EQ(scan(Definition().add(filesystem(1, tree_.room("A")))).status, 4);
  EXPECT_EQ(tree_.logLines().at(3),
            "STA0094E Unable to open the mount table \"/etc/mtab\": No such file or directory. "
            "The scan goes on with the file systems found so far.");
}

TEST_F(FilerTest, ResultsAndSelectionsKnowTheLogicalNamesAlone) {
  const std::string local = tree_.room("A");
  fs::create_directories(local + "/home/anna");
  std::ofstream(local + "/home/anna/mail") << "content";
  std::ofstream(local + "/home/note") << "content";
  mounts({{"net1:/vol/users", "A"}});
  Definition definition;
  definition.add(withFiler(filesystem(1, "/vol/users", 15), {"net1", "name1", ""}, 42))
      .add(monitoredDirectory(8, "/vol/users/home", 42))
      .add(monitoredDirectory(9, "/vol/users/home", 43))
      .add(statistic(6, 1, "by path")
               .set("sdLargestFiles", 9)
               .set("sdWhereClause", whereClause("=F/vol/users/home/%" + std::string(1, '\0'))))
      .add(statistic(7, 0, "below").set("sdLargestFiles", 9));

  EXPECT_EQ(scan(definition).status, 0);

  const std::string text = tree_.result();
  EXPECT_THAT(text, Not(HasSubstr(local)));
  const ResultFile result(text);
  EXPECT_THAT(namesIn(result, result.results(6, 1)),
              ::testing::UnorderedElementsAre("/vol/users/home/note", "/vol/users/home/anna/mail"));
  EXPECT_THAT(namesIn(result, result.results(5, 1), "SDirectory"),
              ::testing::UnorderedElementsAre("/vol/users/", "/vol/users/home", "/vol/users/home/anna"));
  const Node& below = *result.root().all("CuStatDef").back()->all("ResultsByFS").front();
  EXPECT_EQ(directoryOf(result, below), "/vol/users/home");
  EXPECT_EQ(below.only("SMonDir").only("MonDirSpec").rows.size(), 1u) << "the other one is of another filer";
  EXPECT_THAT(tree_.logLines(),
              IsSupersetOf({std::string("STA0025I Scanning the file system \"/vol/users/ (name1)\".")}));
}

TEST_F(FilerTest, AClusterFileSetIsFoundByTheClustersNameAndBeginsAtTheTop) {
  fs::create_directories(tree_.room("D") + "/cluster1");
  std::ofstream(tree_.room("D") + "/cluster1/file") << "content";
  fs::create_directories(tree_.room("D") + "/.quickcopy");
  mounts({{"server", "D", "clfs"}});

  EXPECT_EQ(scan(Definition().add(withFiler(filesystem(1, "/set", 18), {"", "cluster1", "", 23}))).status, 0);

  const ResultFile result(tree_.result());
  EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre("/cluster1/file"));
  EXPECT_THAT(namesIn(result, result.results(5, 1), "SDirectory"),
              ::testing::UnorderedElementsAre("/", "/cluster1"));
}

TEST_F(FilerTest, ANameThatIsLostIsToldAsThisHostKnowsIt) {
  SlowMount dead(tree_.scratch());
  if (!dead) GTEST_SKIP() << dead.whyNot();
  std::ofstream(dead.tree() + "/file") << "content";
  dead.rule({"getattr /file hang"});
  etc_.mounts({"net1:/vol/users " + dead.path() + " nfs"});

  EXPECT_EQ(scan(Definition().add(withFiler(filesystem(1, "/vol/users", 15), {"net1", "", ""})),
                 {"-nfstimeout", "1"})
                .status,
            0);

  EXPECT_THAT(tree_.logLines(),
              Contains("STA0063E Unable to read the attributes of \"" + dead.path() +
                       "/file\": Stale file handle. The entry is not counted; the scan goes on."));
}

TEST_F(FilerTest, WhatAnotherMountCoversIsLeftOut) {
  const std::string local = tree_.room("A");
  fs::create_directories(local + "/mounted");
  // Another file system on top of a directory of the walk: what is below can't be had from here.
  const auto covered = MountedFileSystem::tmpfs(local + "/mounted");
  std::ofstream(covered.path() + "/hidden") << "content";
  mounts({{"net1:/vol/users", "A"}});

  EXPECT_EQ(scan(Definition().add(withFiler(filesystem(1, "/vol/users", 15), {"net1", "", ""}))).status, 0);

  const ResultFile result(tree_.result());
  EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre("/vol/users/in-A"));
  EXPECT_THAT(namesIn(result, result.results(5, 1), "SDirectory"), ElementsAre("/vol/users/"));
}

// The order of walks and of the result: local file systems, the last of the definition first; then domain by
// domain, in each filer by filer as they are met, each filer's file systems as the definition has them.
TEST_F(FilerTest, FileSystemsOfAFilerStandTogether) {
  std::vector<Mount> table{{"none", "L1", "tmpfs"}, {"none", "L2", "tmpfs"}};
  Definition definition;
  const auto onFiler = [&](int id, int filer, int domainID) {
    const std::string volume = "/vol/" + std::to_string(id);
    table.push_back({"f" + std::to_string(filer) + ":" + volume, "V" + std::to_string(id)});
    Record record = nasFiler(filer, "", "f" + std::to_string(filer));
    if (domainID != 0) record.add(domain(domainID, "domain"));
    definition.add(filesystem(id, volume, 14).add(record));
  };
  definition.add(filesystem(1, tree_.room("L1")));
  onFiler(2, 50, 200);
  onFiler(3, 51, 100);
  definition.add(filesystem(4, tree_.room("L2")));
  onFiler(5, 50, 200);
  onFiler(6, 52, 0);
  onFiler(7, 53, 100);
  onFiler(8, 51, 100);
  mounts(table);

  EXPECT_EQ(scan(definition).status, 0);

  const ResultFile result(tree_.result());
  std::vector<long long> order;
  for (const Node* node : result.root().all("Filesystem")) order.push_back(result.number(*node, "fsID"));
  EXPECT_THAT(order, ElementsAre(4, 1, 6, 3, 8, 7, 2, 5));
  const std::string walk = "STA0025I Scanning the file system \"";
  Words walks;
  for (const std::string& line : tree_.logLines()) {
    if (line.starts_with(walk)) walks.push_back(line.substr(walk.size(), line.size() - walk.size() - 2));
  }
  EXPECT_THAT(walks, ElementsAre(tree_.room("L2") + "/", tree_.room("L1") + "/", "/vol/6/ ()", "/vol/3/ ()",
                                 "/vol/8/ ()", "/vol/7/ ()", "/vol/2/ ()", "/vol/5/ ()"));
}

}  // namespace
}  // namespace agent::test
