#include <gmock/gmock.h>

#include <sstream>

#include "citizen/PrivateEtc.h"
#include "system/MountedFileSystem.h"
#include "system/Results.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;

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

  int scan(Definition definition) const {
    definition.add(statistic(5, 3, "all")
                       .set("sdSummary", "Y")
                       .set("sdLargestFiles", 100)
                       .set("sdLargestDirectories", 100));
    tree_.define(definition.text());
    return tree_.scan().status;
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
    std::string filer, mountPoint;
    std::string walked;  ///< the directory, or the key that STA0103W shows
    int osType = 1;
  };
  const std::string local = tree_.room("A");
  for (const Case& c : std::vector<Case>{
           // The network name comes first, then the name, then the address.
           {{"net1:/vol/a A"}, "net1", "/vol/a", "A"},
           {{"10.7.7.7:/vol/a A"}, "net1,name1,10.7.7.7", "/vol/a", "A"},
           {{"10.7.7.7:/vol/a A", "name1:/vol/a B", "net1:/vol/a C"}, "net1,name1,10.7.7.7", "/vol/a", "C"},
           // Hosts are the same in either case and without blanks around them, paths are not.
           {{"NET1:/vol/a A nfs4"}, " Net1 ", "/vol/a", "A"},
           {{"net1:/vol/A A"}, "net1", "/vol/a", "net1:/vol/a"},
           // Any version of the protocol, but not what this host's own server shows. The first entry wins.
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
           // The root volume, for each host in turn; with a slash in front it is one like any other.
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

    EXPECT_EQ(scan(Definition().add(onFiler(filesystem(1, c.mountPoint, 14), c.filer, c.osType))),
              found ? 0 : 4);

    const ResultFile result(tree_.resultFile());
    EXPECT_THAT(mountLog(), ::testing::ElementsAreArray(found ? Words{} : Words{notMounted(c.walked)}));
    if (found) {
      EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre(c.mountPoint + "/in-" + c.walked));
    }
  }
}

TEST_F(FilerTest, ATableThatTellsNothingIsNoCleanScan) {
  for (const Words& table : {Words{}, Words{"# host table"}, Words{"none " + tree_.room("B") + " tmpfs"},
                             Words{"no-export " + tree_.room("B") + " nfs"}}) {
    fs::remove(tree_.logFile());
    etc_.mounts(table);
    EXPECT_EQ(scan(Definition().add(filesystem(1, tree_.room("A")))), 4);
    EXPECT_THAT(mountLog(), Contains(notMounted(tree_.room("A"))));
  }

  fs::remove("/etc/mtab");
  const auto mounted = MountedFileSystem::tmpfs(tree_.room("M"));
  ASSERT_TRUE(mounted) << mounted.whyNot();
  EXPECT_EQ(scan(Definition().add(filesystem(1, mounted.path()))), 0) << "the kernel has a table too";
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

  EXPECT_EQ(scan(definition), 0);

  const std::string text = tree_.result();
  EXPECT_THAT(text, Not(::testing::HasSubstr(local)));
  const ResultFile result(tree_.resultFile());
  EXPECT_THAT(namesIn(result, result.results(6, 1)),
              ::testing::UnorderedElementsAre("/vol/users/home/note", "/vol/users/home/anna/mail"));
  EXPECT_THAT(namesIn(result, result.results(5, 1), "SDirectory"),
              ::testing::UnorderedElementsAre("/vol/users/", "/vol/users/home", "/vol/users/home/anna"));
  const Node& below = *result.root().childrenOf("CuStatDef").back()->childrenOf("ResultsByFS").front();
  EXPECT_EQ(directoryOf(result, below), "/vol/users/home");
  EXPECT_EQ(only(only(below, "SMonDir"), "MonDirSpec").rows.size(), 1u)
      << "the other one is of another filer";
  EXPECT_THAT(tree_.logLines(), Contains("STA0025I Scanning the file system \"/vol/users/ (name1)\"."));
}

TEST_F(FilerTest, AUserDatabaseThatIsDownMakesNoSilentOrphans) {
  mounts({"none A tmpfs"});
  fs::remove("/etc/passwd");  // to the service "files" a database that is down, not an empty one
  EXPECT_EQ(scan(Definition().add(filesystem(1, tree_.room("A")))), 4);
  EXPECT_THAT(
      tree_.logLines(),
      Contains("GEN0105W Unable to look up owners and groups, 1 in all: No such file or directory. They "
               "count as removed in this result although they may exist: nothing may be deleted for that. "
               "The scan goes on."));
}

TEST_F(FilerTest, AClusterFileSetIsFoundByTheClustersNameAndBeginsAtTheTop) {
  fs::create_directories(tree_.room("D") + "/cluster1");
  std::ofstream(tree_.room("D") + "/cluster1/file") << "content";
  fs::create_directories(tree_.room("D") + "/.quickcopy");
  mounts({"server D clfs"});

  EXPECT_EQ(scan(Definition().add(onFiler(filesystem(1, "/set", 18), ",cluster1,", 23))), 0);

  const ResultFile result(tree_.resultFile());
  EXPECT_THAT(namesIn(result, result.results(5, 1)), ElementsAre("/cluster1/file"));
  EXPECT_THAT(namesIn(result, result.results(5, 1), "SDirectory"),
              ::testing::UnorderedElementsAre("/", "/cluster1"));
}

}  // namespace
}  // namespace agent::test
