#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

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
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;

using Words = std::vector<std::string>;

/// A file system of a filer: "network name,name,address".
Record onFiler(Record filesystem, const std::string& hosts, int osType = 1, int computer = 99) {
  Words names(3);
  std::istringstream words(hosts);
  for (std::string& name : names) std::getline(words, name, ',');
  return filesystem.add(nasFiler(computer, names[1], names[0], osType).set("nfIPAddress", names[2]));
}

/// Mounts of filers, which are directories that a mount table of our own calls so. Each holds one file,
/// "in-A", so a result shows which was walked.
class FilerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!etc_) GTEST_SKIP() << etc_.whyNot();
    for (const char* name : {"A", "B", "C"}) std::ofstream(tree_.room(name) + "/in-" + name) << "content";
  }

  /// Each entry is "export directory", which makes it NFS, or "source directory type".
  void mounts(const Words& table) const {
    Words lines;
    for (const std::string& entry : table) {
      std::istringstream words(entry);
      std::string source, directory, type = "nfs";
      words >> source >> directory >> type;
      lines.push_back(source + " " + tree_.room(directory) + " " + type);
    }
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

  static std::string notMounted(const std::string& key) {
    return "STA0103W The file system \"" + key +
           "\" is not mounted on this host. It is not scanned; the scan goes on with the others.";
  }

  InstallTree tree_;
  PrivateEtc etc_{tree_.scratch()};
};

TEST_F(FilerTest, AFileSystemIsFoundInTheMountTableByAnyOfItsKeys) {
  etc_.hosts(
      {"10.1.2.3 filer1", "10.9.9.9 elsewhere", "fd00::1 filer6", "10.1.2.7 filer7", "10.1.2.8 filer7"});
  struct Case {
    Words table;
    std::string filer;
    std::string mountPoint;
    std::string walked;  ///< the directory, or the key that STA0103W shows
    int osType = 1;
  };
  const std::string local = tree_.room("A");
  for (const Case& c : std::vector<Case>{
           // The network name comes first, then the name, then the address.
           {{"net1:/vol/a A"}, "net1", "/vol/a", "A"},
           {{"name1:/vol/a A"}, "net1,name1", "/vol/a", "A"},
           {{"10.7.7.7:/vol/a A"}, "net1,name1,10.7.7.7", "/vol/a", "A"},
           {{"10.7.7.7:/vol/a A", "name1:/vol/a B", "net1:/vol/a C"}, "net1,name1,10.7.7.7", "/vol/a", "C"},
           {{"10.7.7.7:/vol/a A", "name1:/vol/a B"}, "net1,name1,10.7.7.7", "/vol/a", "B"},
           // Hosts are the same in either case and without blanks around them, paths are not.
           {{"NET1:/vol/a A"}, "Net1", "/vol/a", "A"},
           {{"net1:/vol/a A"}, "  net1 ", "/vol/a", "A"},
           {{"net1:/vol/A A"}, "net1", "/vol/a", "net1:/vol/a"},
           // Any version of the protocol, but not what this host's own server shows. The first entry wins.
           {{"net1:/vol/a A nfs4"}, "net1", "/vol/a", "A"},
           {{"net1:/vol/a A nfsd", "none B tmpfs"}, "net1", "/vol/a", "net1:/vol/a"},
           {{"net1:/vol/a A", "net1:/vol/a B"}, "net1", "/vol/a", "A"},
           // Mounted by name, wanted by address; an address in the table comes before one that was looked up.
           {{"filer1:/vol/a A"}, ",,10.1.2.3", "/vol/a", "A"},
           {{"elsewhere:/vol/a A"}, ",,10.1.2.3", "/vol/a", "10.1.2.3:/vol/a"},
           {{"filer1:/vol/a A", "10.1.2.3:/vol/a B"}, ",,10.1.2.3", "/vol/a", "B"},
           {{"filer6:/vol/a A"}, ",,[fd00::1]", "/vol/a", "A"},
           {{"filer7:/vol/a A"}, ",,10.1.2.8", "/vol/a", "A"},  // of several the last
           // Mounted by address, wanted by a name that stands in the place of the address.
           {{"10.1.2.3:/vol/a A"}, ",,filer1", "/vol/a", "A"},
           {{"nowhere:/vol/a A"}, "nowhere", "/vol/a", "A"},  // a host without an address
           // The root volume, for each host in turn; with a slash in front it is one like any other.
           {{"net1:/ A"}, "net1", "vol/vol0", "A"},
           {{"name1:/ A"}, "net1,name1", "vol/vol0", "A"},
           {{"net1:/ A"}, "net1", "/vol/vol0", "net1:/vol/vol0"},
           {{"net1:/ A", "net1:/vol/vol0 B"}, "net1", "/vol/vol0", "B"},
           // Filers of the other shape: the name alone, or their root volume, here with the slash.
           {{"net1:/ A"}, "net1,name1", "/vol/vol0", "A", 23},
           {{"net1:/ A", "name1:/vol/vol0 B"}, "net1,name1", "vol/vol0", "name1", 23},
           // A filer without a host has no key; the directory of a mount is none.
           {{"net1:/vol/a A"}, ", ,", "/vol/a", "<NULL>"},
           {{"net1:/vol/a A"}, "other", local, "other:" + local},
       }) {
    SCOPED_TRACE(c.table.front() + " for " + c.filer + " " + c.mountPoint);
    const bool found = c.walked.size() == 1;
    fs::remove(tree_.logFile());
    mounts(c.table);

    EXPECT_EQ(scan(Definition().add(onFiler(filesystem(1, c.mountPoint, 14), c.filer, c.osType))).status,
              found ? 0 : 4);

    const ResultFile result(tree_.result());
    EXPECT_THAT(mountLog(), ElementsAreArray(found ? Words{} : Words{notMounted(c.walked)}));
    if (found) {
      EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre(c.mountPoint + "/in-" + c.walked));
    }
  }
}

TEST_F(FilerTest, LocalFileSystemsAreFoundByTheirMountPoint) {
  struct Case {
    Words table;
    int status;
  };
  for (const Case& c : {Case{{"none A newfs"}, 0},                     // of any kind that isn't known
                        Case{{"none A tmpfs", "/nowhere A ext4"}, 0},  // the first of several
                        Case{{"net1:/vol/a A nfs"}, 4},                // an export is found by its source
                        Case{{"none A proc", "none B tmpfs"}, 4},      // a kind that is never scanned
                        Case{{"/nowhere A ext4"}, 4}}) {               // a device that can't be read
    SCOPED_TRACE(c.table.front());
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
  mounts({"net1/vol/a A", "net1:/vol/b B", ":/vol/a A", "net1:vol A", "none C tmpfs"});

  EXPECT_EQ(scan(Definition()
                     .add(onFiler(filesystem(1, "/vol/b", 14), "net1,,"))
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
  mounts({"net1:/vol/users A"});
  Definition definition;
  definition.add(onFiler(filesystem(1, "/vol/users", 15), "net1,name1,", 1, 42))
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
  mounts({"server D clfs"});

  EXPECT_EQ(scan(Definition().add(onFiler(filesystem(1, "/set", 18), ",cluster1,", 23))).status, 0);

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

  EXPECT_EQ(
      scan(Definition().add(onFiler(filesystem(1, "/vol/users", 15), "net1,,")), {"-nfstimeout", "1"}).status,
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
  mounts({"net1:/vol/users A"});

  EXPECT_EQ(scan(Definition().add(onFiler(filesystem(1, "/vol/users", 15), "net1,,"))).status, 0);

  const ResultFile result(tree_.result());
  EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre("/vol/users/in-A"));
  EXPECT_THAT(namesIn(result, result.results(5, 1), "SDirectory"), ElementsAre("/vol/users/"));
}

// The order of walks and of the result: local file systems, the last of the definition first; then domain by
// domain, in each filer by filer as they are met, each filer's file systems as the definition has them.
TEST_F(FilerTest, FileSystemsOfAFilerStandTogether) {
  Words table{"none L1 tmpfs", "none L2 tmpfs"};
  Definition definition;
  const auto volumeOf = [&](int id, int filer, int domainID) {
    const std::string volume = "/vol/" + std::to_string(id);
    table.push_back("f" + std::to_string(filer) + ":" + volume + " V" + std::to_string(id));
    Record record = nasFiler(filer, "", "f" + std::to_string(filer));
    if (domainID != 0) record.add(domain(domainID, "domain"));
    definition.add(filesystem(id, volume, 14).add(record));
  };
  definition.add(filesystem(1, tree_.room("L1")));
  volumeOf(2, 50, 200);
  volumeOf(3, 51, 100);
  definition.add(filesystem(4, tree_.room("L2")));
  volumeOf(5, 50, 200);
  volumeOf(6, 52, 0);
  volumeOf(7, 53, 100);
  volumeOf(8, 51, 100);
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
