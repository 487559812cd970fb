#include <gmock/gmock.h>

#include <fstream>

#include "citizen/PrivateEtc.h"
#include "system/MountedFileSystem.h"
#include "system/Results.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

/// A file system "/.../m" with the directories a, a/b, a/b/c, home, home/anna, home/ben, home/ben/b and
/// home/st*r. Each holds one file, named like it and "-file".
class MonitoredDirectoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!mounted_) GTEST_SKIP() << mounted_.whyNot();
    for (const char* name :
         {"", "/a", "/a/b", "/a/b/c", "/home", "/home/anna", "/home/ben", "/home/ben/b", "/home/st*r"}) {
      fs::create_directories(m() + name);
      std::ofstream(m() + name + "/" + fs::path(m() + name).filename().string() + "-file") << "content";
    }
  }

  const std::string& m() const { return mounted_.path(); }

  /// A job with these specs and one directory statistic, whose id is 7.
  Definition job(const std::vector<Record>& specs) const {
    Definition definition = summaryOf({m()});
    for (const Record& spec : specs) definition.add(spec);
    return definition.add(statistic(7, 0, "below").set("sdSummary", "Y").set("sdLargestFiles", 1000));
  }

  int scan(const Definition& definition) const {
    tree_.define(definition.text());
    return tree_.scan().status;
  }

  /// The results of statistic 7, in file order.
  static std::vector<const Node*> below(const ResultFile& result) {
    for (const Node* node : result.root().childrenOf("CuStatDef")) {
      if (result.number(*node, "sdID") == 7) return node->childrenOf("ResultsByFS");
    }
    return {};
  }

  /// What a result has about monitored directories, in the order of their names: "a{1}" for one on which
  /// spec 1 has fired. The files and directories counted below each are compared with those that are there.
  std::string found(const ResultFile& result) const {
    std::set<std::string> all;
    for (const Node* each : below(result)) {
      const std::string directory = directoryOf(result, *each);
      std::set<std::string> files;
      long long directories = 0;
      for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_directory())
          ++directories;
        else
          files.insert(entry.path());
      }
      const Node& results = only(*each, "CuStatResults");
      const Names counted = namesIn(result, results);
      EXPECT_EQ(std::set<std::string>(counted.begin(), counted.end()), files);
      EXPECT_EQ(result.number(only(results, "SSummary"), "sumDirectoryCount"), directories)
          << "itself is none of them";
      std::string specs;
      for (const auto& row : only(only(*each, "SMonDir"), "MonDirSpec").rows)
        specs += (specs.empty() ? "" : ",") + row.front();
      EXPECT_TRUE(all.insert(directory.substr(m().size() + 1) + "{" + specs + "}").second) << directory;
    }
    EXPECT_EQ(result.root().childrenOf("SMonDir").size(), all.size());
    std::string joined;
    for (const std::string& one : all) joined += (joined.empty() ? "" : " ") + one;
    return joined;
  }

  InstallTree tree_;
  const MountedFileSystem mounted_ = MountedFileSystem::tmpfs(tree_.room("m"));
};

TEST_F(MonitoredDirectoryTest, EachSpecFindsItsDirectories) {
  struct Case {
    Names paths;  ///< of the specs 1, 2 ...; "M" is the mount point, "S" where it lies
    std::string found;
    int status = 0;
  };
  for (const Case& c : std::vector<Case>{
           // One directory, with a slash at its end, deep in the tree, with another platform's separators.
           {{"M/a/"}, "a{1}"},
           {{"M\\a\\b", "M\\\\home\\\\anna"}, "a/b{1} home/anna{2}"},
           // Not there, a file, elsewhere, with a name that only begins alike.
           {{"M/nowhere", "M/m-file", "/a", "Mm/a", "M/hom", "M/h", ""}, ""},
           // One in another: the inner one counts for both. Several at one level. Two specs for one.
           {{"M/a", "M/a/b"}, "a/b{2} a{1}"},
           {{"M/a/b", "M/home/ben", "M/home"}, "a/b{1} home/ben{2} home{3}"},
           {{"M/a", "M/a"}, "a{1,2}"},
           {{"M/home/anna", "M/home/*"}, "home/anna{1,2} home/ben{2} home/st*r{2}"},
           // A mask fires again and again; behind a slash it needs one character at least.
           {{"M/*"}, "a{1} home{1}"},
           {{"M/home/???"}, "home/ben{1}"},
           {{"M/home/st&*r"}, "home/st*r{1}"},
           {{"M/*/b"}, "a/b{1}"},
           {{"M/%/b"}, "a/b{1} home/ben/b{1}"},
           // A directory and all below it: the outermost counts, each adds its spec.
           {{"M/a/%"}, "a{1,1,1}"},
           // The mount point: by name, by a mask, with all below it, with one below it.
           {{"M"}, "{1}"},
           {{"S/[m]"}, "{1}"},
           {{"S/[!m]"}, ""},
           {{"M/%"}, "{1,1,1,1,1,1,1,1,1}"},
           {{"M", "M/a"}, "a{2} {1}"},
           // A broken mask is given up, and the others go on.
           {{"M/[a", "M/a"}, "a{2}", 4},
       }) {
    SCOPED_TRACE(::testing::PrintToString(c.paths));
    std::vector<Record> specs;
    for (std::string path : c.paths) {
      if (path.starts_with('M')) path.replace(0, 1, m());
      if (path.starts_with('S')) path.replace(0, 1, tree_.scratch());
      specs.push_back(monitoredDirectory(static_cast<int>(specs.size()) + 1, path));
    }

    EXPECT_EQ(scan(job(specs)), c.status);

    EXPECT_EQ(found(ResultFile(tree_.resultFile())), c.found);
  }
}

TEST_F(MonitoredDirectoryTest, SpecsOfOtherComputersAreLeftOut) {
  // 17 is this one, 30 the one that has the file system, 0 any, -1 any as older servers say it.
  std::vector<Record> specs;
  for (const int computer : {17, 30, 0, -1, 18}) {
    specs.push_back(monitoredDirectory(static_cast<int>(specs.size()) + 1, m() + "/a", computer));
  }
  Definition definition = job(specs);
  definition.records.front().set("fsComputerID", 30);

  EXPECT_EQ(scan(definition), 0);

  EXPECT_EQ(found(ResultFile(tree_.resultFile())), "a{1,2,3,4}");
}

TEST_F(MonitoredDirectoryTest, RelativeNamesOfADirectoryStatisticBeginAtTheDirectory) {
  Definition definition = job({monitoredDirectory(1, m() + "/a"), monitoredDirectory(2, m() + "/home/ben")});
  definition.records.back().set("sdWhereClause", whereClause("=Fb/*-file" + std::string(1, '\0')));

  EXPECT_EQ(scan(definition), 0);

  const ResultFile result(tree_.resultFile());
  Names counted;
  for (const Node* each : below(result)) {
    for (const std::string& name : namesIn(result, only(*each, "CuStatResults"))) counted.push_back(name);
  }
  EXPECT_THAT(counted, ::testing::UnorderedElementsAre(m() + "/a/b/b-file", m() + "/home/ben/b/b-file"));
  const Node& printed = *result.root().childrenOf("CuStatDef").back();
  EXPECT_EQ(result.text(printed, "sdWhereClause"), "=Fb/*-file" + std::string(1, '\0'))
      << "its bytes, no list";
}

TEST_F(MonitoredDirectoryTest, DirectoriesOfTheFileSystemAtTheTop) {
  const PrivateEtc etc(tree_.scratch());
  if (!etc) GTEST_SKIP() << etc.whyNot();
  // A filer's root volume, since that of this host is no test's business.
  etc.mounts({"net1:/ " + m() + " nfs"});
  Definition definition =
      job({monitoredDirectory(1, "/", 0), monitoredDirectory(2, "/a"), monitoredDirectory(3, "/home/*")});
  definition.records.front() = filesystem(1, "/", 14).add(nasFiler(99, "", "net1"));

  EXPECT_EQ(scan(definition), 0);

  const ResultFile result(tree_.resultFile());
  std::map<std::string, size_t> files;
  for (const Node* each : below(result))
    files[directoryOf(result, *each)] = only(*each, "CuStatResults").childrenOf("SFile").size();
  EXPECT_EQ(files, (std::map<std::string, size_t>{
                       {"/", 9}, {"/a", 3}, {"/home/anna", 1}, {"/home/ben", 2}, {"/home/st*r", 1}}));
}

}  // namespace
}  // namespace agent::test
