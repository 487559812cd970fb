#include <gmock/gmock.h>

#include <fstream>
#include <map>

#include "citizen/PrivateEtc.h"
#include "citizen/Results.h"
#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Names = std::vector<std::string>;

/// What the result has about one monitored directory.
struct Found {
  std::set<std::string> files;  ///< that the directory statistic counted, without the mount point in front
  int directories;              ///< below it: itself is none of them
  std::vector<int> specs;       ///< the ids in its rows, in order

  bool operator==(const Found&) const = default;
};

void PrintTo(const Found& found, std::ostream* stream) {
  *stream << ::testing::PrintToString(found.files) << " " << found.directories << " "
          << ::testing::PrintToString(found.specs);
}

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
    for (const Node* node : result.root().all("CuStatDef")) {
      if (result.number(*node, "sdID") == 7) return node->all("ResultsByFS");
    }
    return {};
  }

  std::map<std::string, Found> found(const ResultFile& result) const {
    std::map<std::string, Found> all;
    for (const Node* results : below(result)) {
      const std::string directory = directoryOf(result, *results);
      Found one{{},
                static_cast<int>(
                    result.number(results->only("CuStatResults").only("SSummary"), "sumDirectoryCount")),
                {}};
      for (const std::string& name : namesIn(result, results->only("CuStatResults")))
        one.files.insert(name.substr(m().size() + 1));
      for (const auto& row : results->only("SMonDir").only("MonDirSpec").rows)
        one.specs.push_back(std::stoi(row.front()));
      EXPECT_TRUE(all.emplace(directory == m() + "/" ? "" : directory.substr(m().size() + 1), one).second)
          << directory;
    }
    return all;
  }

  InstallTree tree_;
  const MountedFileSystem mounted_ = MountedFileSystem::tmpfs(tree_.room("m"));
};

TEST_F(MonitoredDirectoryTest, EachSpecFindsItsDirectories) {
  const Found A{{"a/a-file", "a/b/b-file", "a/b/c/c-file"}, 2, {1}};
  const Found AB{{"a/b/b-file", "a/b/c/c-file"}, 1, {1}};
  const Found ABC{{"a/b/c/c-file"}, 0, {1}};
  const Found ANNA{{"home/anna/anna-file"}, 0, {1}};
  const Found BEN{{"home/ben/ben-file", "home/ben/b/b-file"}, 1, {1}};
  const Found BENB{{"home/ben/b/b-file"}, 0, {1}};
  const Found STAR{{"home/st*r/st*r-file"}, 0, {1}};
  const Found HOME{{"home/home-file", "home/anna/anna-file", "home/ben/ben-file", "home/ben/b/b-file",
                    "home/st*r/st*r-file"},
                   4,
                   {1}};
  Found whole = A;
  whole.files.insert(HOME.files.begin(), HOME.files.end());
  whole.files.insert("m-file");
  whole.directories = 8;
  const auto with = [](Found one, std::vector<int> specs) {
    one.specs = std::move(specs);
    return one;
  };
  struct Case {
    const char* what;
    Names paths;  ///< of the specs 1, 2 ...; "M" is the mount point, "S" where it lies
    std::map<std::string, Found> found;
  };
  const std::vector<Case> cases = {
      {"one directory", {"M/a"}, {{"a", A}}},
      {"a slash at its end", {"M/a/"}, {{"a", A}}},
      {"deep in the tree", {"M/a/b/c"}, {{"a/b/c", ABC}}},
      {"one that isn't there", {"M/nowhere"}, {}},
      {"a file", {"M/m-file"}, {}},
      {"one of another file system", {"/a"}, {}},
      {"a name that only begins alike", {"Mm/a", "M/hom"}, {}},
      {"separators of another platform, single and doubled",
       {"M\\a\\b", "M\\\\home\\\\anna"},
       {{"a/b", AB}, {"home/anna", with(ANNA, {2})}}},
      {"one in another: the inner one counts for both", {"M/a", "M/a/b"}, {{"a", A}, {"a/b", with(AB, {2})}}},
      {"two at one level",
       {"M/home/anna", "M/home/ben"},
       {{"home/anna", ANNA}, {"home/ben", with(BEN, {2})}}},
      {"two at one level, far from each other",
       {"M/a/b", "M/home/ben"},
       {{"a/b", AB}, {"home/ben", with(BEN, {2})}}},
      {"one directory for two specs", {"M/a", "M/a"}, {{"a", with(A, {1, 2})}}},
      {"one by its name and by a mask",
       {"M/home/anna", "M/home/*"},
       {{"home/anna", with(ANNA, {1, 2})}, {"home/ben", with(BEN, {2})}, {"home/st*r", with(STAR, {2})}}},
      {"a mask fires again and again",
       {"M/home/*"},
       {{"home/anna", ANNA}, {"home/ben", BEN}, {"home/st*r", STAR}}},
      {"a mask that must have one more character: not the mount point itself",
       {"M/*"},
       {{"a", A}, {"home", HOME}}},
      {"single characters", {"M/home/???"}, {{"home/ben", BEN}}},
      {"sets", {"M/home/[!b]*"}, {{"home/anna", ANNA}, {"home/st*r", STAR}}},
      {"a special character that means itself", {"M/home/st&*r"}, {{"home/st*r", STAR}}},
      {"a mask in the middle", {"M/*/b"}, {{"a/b", AB}}},
      {"at any depth", {"M/%/b"}, {{"a/b", AB}, {"home/ben/b", BENB}}},
      {"a directory and all below: the outermost counts, each adds its spec",
       {"M/a/%"},
       {{"a", with(A, {1, 1, 1})}}},
      {"the mount point", {"M"}, {{"", whole}}},
      {"the mount point with a slash", {"M/"}, {{"", whole}}},
      {"the mount point by a mask", {"S/[m]"}, {{"", whole}}},
      {"a mask at its depth that doesn't fit it", {"S/[!m]"}, {}},
      {"the mount point and all below it", {"M/%"}, {{"", with(whole, {1, 1, 1, 1, 1, 1, 1, 1, 1})}}},
      {"the mount point and one below it", {"M", "M/a"}, {{"", whole}, {"a", with(A, {2})}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<Record> specs;
    for (std::string path : c.paths) {
      if (path.starts_with('M')) path.replace(0, 1, m());
      if (path.starts_with('S')) path.replace(0, 1, tree_.scratch());
      specs.push_back(monitoredDirectory(static_cast<int>(specs.size()) + 1, path));
    }

    EXPECT_EQ(scan(job(specs)), 0);

    const ResultFile result(tree_.result());
    EXPECT_EQ(found(result), c.found);
    EXPECT_EQ(result.root().all("SMonDir").size(), c.found.size());
  }
}

TEST_F(MonitoredDirectoryTest, SpecsOfOtherComputersAreLeftOut) {
  struct Case {
    const char* what;
    int computer;
    bool counts;
  };
  for (const Case& c :
       {Case{"this one", 17, true}, Case{"the one that has the file system", 30, true}, Case{"any", 0, true},
        Case{"any, as older servers say it", -1, true}, Case{"another", 18, false}}) {
    SCOPED_TRACE(c.what);
    Definition definition = job({monitoredDirectory(1, m() + "/a", c.computer)});
    definition.records.front().set("fsComputerID", 30);

    EXPECT_EQ(scan(definition), 0);

    EXPECT_EQ(below(ResultFile(tree_.result())).size(), c.counts ? 1u : 0u);
  }
}

TEST_F(MonitoredDirectoryTest, ARecordShowsItsDirectoryAndItsSpec) {
  EXPECT_EQ(scan(job({monitoredDirectory(11, m() + "\\home\\*n*", 17)})), 0);

  const ResultFile result(tree_.result());
  const auto records = result.root().all("SMonDir");
  ASSERT_EQ(records.size(), 2u) << "anna and ben";
  for (const Node* record : records) {
    const fs::path name = result.text(*record, "faName");
    EXPECT_TRUE(fs::is_directory(name)) << name;
    EXPECT_EQ(result.number(*record, "faType"), 3);
    EXPECT_EQ(result.number(*record, "smFilesystemID"), 1);
    EXPECT_EQ(result.text(*record, "smNewDirectory"), "Y");
    EXPECT_THAT(record->only("MonDirSpec").rows,
                ElementsAre(ElementsAre("11", "7", "17", m() + "/home/*n*", "Y")));
    EXPECT_EQ(record->only("UserOrGroupUser").rows.size(), 1u);
  }
}

TEST_F(MonitoredDirectoryTest, ABrokenMaskIsGivenUpAndTheOthersGoOn) {
  EXPECT_EQ(scan(job({monitoredDirectory(1, m() + "/[a"), monitoredDirectory(2, m() + "/a")})), 4);

  const ResultFile result(tree_.result());
  EXPECT_EQ(found(result).at("a").specs, std::vector<int>{2});
  EXPECT_EQ(below(result).size(), 1u);
}

// The last spec of the definition comes first; directories of one spec stand as the walk left them, their
// results the other way round.
TEST_F(MonitoredDirectoryTest, RecordsStandInTheOrderOfSpecsAndOfTheWalk) {
  EXPECT_EQ(scan(job({monitoredDirectory(1, m() + "/home/*"), monitoredDirectory(2, m() + "/a")})), 0);

  Names walked;
  Names left;
  for (const auto& entry : fs::directory_iterator(m() + "/home")) {
    if (entry.is_directory()) walked.push_back(entry.path());
  }
  for (const auto& entry : fs::directory_iterator(m())) {
    if (entry.path().filename() == "a") left.push_back(entry.path());
    if (entry.path().filename() == "home") left.insert(left.end(), walked.begin(), walked.end());
  }
  const ResultFile result(tree_.result());
  Names records = namesIn(result, result.root(), "SMonDir");
  walked.insert(walked.begin(), m() + "/a");
  EXPECT_EQ(records, walked);
  Names results;
  for (const Node* each : below(result)) results.push_back(directoryOf(result, *each));
  EXPECT_THAT(results, ElementsAreArray(left.rbegin(), left.rend()));
  Names tags;
  for (const Node& child : result.root().children) tags.push_back(child.tag);
  EXPECT_THAT(
      tags, ElementsAre("Filesystem", "SMonDir", "SMonDir", "SMonDir", "SMonDir", "CuStatDef", "CuStatDef"));
}

TEST_F(MonitoredDirectoryTest, RelativeNamesOfADirectoryStatisticBeginAtTheDirectory) {
  Definition definition = job({monitoredDirectory(1, m() + "/a"), monitoredDirectory(2, m() + "/home/ben")});
  definition.records.back().set("sdWhereClause", whereClause("=Fb/*-file" + std::string(1, '\0')));

  EXPECT_EQ(scan(definition), 0);

  const ResultFile result(tree_.result());
  const auto all = found(result);
  EXPECT_THAT(all.at("a").files, ElementsAre("a/b/b-file"));
  EXPECT_THAT(all.at("home/ben").files, ElementsAre("home/ben/b/b-file"));
  const Node& printed = *result.root().all("CuStatDef").back();
  EXPECT_EQ(result.text(printed, "sdWhereClause"), "=Fb/*-file" + std::string(1, '\0'))
      << "its bytes, no list";
}

TEST_F(MonitoredDirectoryTest, WithoutADirectoryADirectoryStatisticIsNotPrinted) {
  EXPECT_EQ(scan(job({})), 0);

  const ResultFile result(tree_.result());
  EXPECT_EQ(result.root().all("CuStatDef").size(), 1u);
  EXPECT_THAT(tree_.logLines(),
              ::testing::IsSupersetOf(
                  {std::string("STA0027I The scan gathers these statistics for monitored directories:"),
                   std::string(25, ' ') + "admin.below"}));
}

TEST_F(MonitoredDirectoryTest, AStatisticOfSomeFileSystemsCountsThemAlone) {
  const auto other = MountedFileSystem::tmpfs(tree_.room("other"));
  std::ofstream(other.path() + "/file") << "content";
  Definition definition = summaryOf({m(), other.path()});
  Record some = statistic(8, 4, "some").set("sdSummary", "Y").set("sdLargestFiles", 9);
  some.add(restrictedTo(filesystem(2, "as the server knows it").set("fsExportName", "export")));
  some.add(restrictedTo(filesystem(9, "one of another job")));
  definition.add(some);

  EXPECT_EQ(scan(definition), 0);

  const ResultFile result(tree_.result());
  std::vector<const Node*> results;
  for (const Node* node : result.root().all("CuStatDef")) {
    if (result.number(*node, "sdID") != 8) continue;
    EXPECT_EQ(result.number(*node, "sdType"), 4);
    for (const Node* each : node->all("ResultsByFS")) results.push_back(each);
  }
  ASSERT_EQ(results.size(), 1u);
  EXPECT_THAT(namesIn(result, results.front()->only("CuStatResults")), ElementsAre(other.path() + "/file"));
  const Node& source = results.front()->only("Filesystem");
  EXPECT_EQ(result.number(source, "fsID"), 2);
  EXPECT_EQ(result.text(source, "fsMountPoint"), "as the server knows it");
  EXPECT_EQ(result.text(source, "fsExportName"), "export");
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

  const ResultFile result(tree_.result());
  std::map<std::string, size_t> files;
  for (const Node* each : below(result))
    files[directoryOf(result, *each)] = each->only("CuStatResults").all("SFile").size();
  EXPECT_EQ(files, (std::map<std::string, size_t>{
                       {"/", 9}, {"/a", 3}, {"/home/anna", 1}, {"/home/ben", 2}, {"/home/st*r", 1}}));
}

}  // namespace
}  // namespace agent::test
