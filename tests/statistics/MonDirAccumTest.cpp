#include "Scan/statistics/MonDirAccum.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Scan/results/ResultsByFS.h"
#include "Scan/statistics/CuStatDef.h"
#include "Scan/statistics/MonDirSpec.h"
#include "statistics/WalkStandIn.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// One chain with two statistics; the test plays the walk and the activators.
class MonDirAccumTest : public ::testing::Test {
 protected:
  MonDirAccumTest() {
    for (CuStatDef* definition : {&first, &second}) definition->sdSummary = true;
    chain.append(firstAccum);
    chain.append(secondAccum);
  }

  /// The walk meets a directory: the entry reaches every accumulator, then the activators fire.
  void meet(const std::string& name, const std::vector<const MonDirSpec*>& firing = {}) {
    current = WalkStandIn::directory(name, 8);
    for (FileAction* action : row) action->actUpon(walk.scanner, current);
    for (const MonDirSpec* fired : firing) Activator(chain, *fired).actUpon(walk.scanner, current);
  }
  void enter(const std::string& name, const std::vector<const MonDirSpec*>& firing = {}) {
    meet(name, firing);
    for (FileAction* action : row) action->directoryEntered(current);
  }
  void leave() {
    for (FileAction* action : row) action->directoryLeft();
  }
  void passOver() {
    for (FileAction* action : row) action->directoryPassedOver();
  }
  void file(const std::string& name) {
    current = WalkStandIn::file(name, 2);
    for (FileAction* action : row) action->actUpon(walk.scanner, current);
  }
  std::vector<std::string> completed() const {
    std::vector<std::string> names;
    for (const SMonDir* directory : table.completed()) names.push_back(directory->faName);
    return names;
  }
  static int64_t files(const CuStatDef& definition, size_t index) {
    return definition.sdResults.at(index)->rfResults->srSummary->sumFileCount;
  }

  WalkStandIn walk;
  MonDirTable table;
  CuStatDef first, second;
  MonDirAccum firstAccum{first, walk.filesystem}, secondAccum{second, walk.filesystem};
  MonDirChain chain{table, walk.filesystem};
  std::vector<FileAction*> row{&firstAccum, &secondAccum, &chain};
  MonDirSpec spec, otherSpec;
  FileAttributes current;
};

TEST_F(MonDirAccumTest, CollectsFromEnteringTheDirectoryToLeavingIt) {
  enter("/m/");
  file("/m/before");
  enter("/m/d", {&spec});
  file("/m/d/x");
  enter("/m/d/e");
  file("/m/d/e/y");
  leave();
  leave();
  file("/m/after");
  leave();

  EXPECT_THAT(completed(), ElementsAre("/m/d"));
  for (const CuStatDef* definition : {&first, &second}) {
    ASSERT_EQ(definition->sdResults.size(), 1u);
    EXPECT_EQ(files(*definition, 0), 2);
    const SSummary& summary = *definition->sdResults[0]->rfResults->srSummary;
    EXPECT_EQ(summary.sumDirectoryCount, 1);  // its own entry is not counted below it
    EXPECT_TRUE(definition->sdResults[0]->concerns(11));
  }
}

TEST_F(MonDirAccumTest, ServesSeveralDirectoriesInTurnAndTheLastStandsFirst) {
  enter("/m/");
  enter("/m/a", {&spec});
  file("/m/a/x");
  leave();
  enter("/m/b", {&spec});
  leave();
  leave();
  EXPECT_THAT(completed(), ElementsAre("/m/a", "/m/b"));
  ASSERT_EQ(first.sdResults.size(), 2u);
  EXPECT_EQ(files(first, 0), 0);  // b
  EXPECT_EQ(files(first, 1), 1);  // a
}

TEST_F(MonDirAccumTest, TwoSpecsOnOneDirectoryShareItAndNestedOnesJoinTheOuter) {
  enter("/m/");
  enter("/m/a", {&spec, &otherSpec});
  enter("/m/a/b", {&otherSpec});
  file("/m/a/b/x");
  leave();
  leave();
  leave();
  ASSERT_THAT(completed(), ElementsAre("/m/a"));
  EXPECT_THAT(table.completed()[0]->smDirSpecs, ElementsAre(&spec, &otherSpec, &otherSpec));
  ASSERT_EQ(first.sdResults.size(), 1u);
  EXPECT_EQ(files(first, 0), 1);
}

TEST_F(MonDirAccumTest, ADirectoryThatIsNotEnteredDoesNotWaitForASibling) {
  enter("/m/");
  meet("/m/tooDeep", {&spec});
  passOver();
  enter("/m/sibling");
  file("/m/sibling/x");
  leave();
  leave();
  EXPECT_THAT(completed(), IsEmpty());
  EXPECT_TRUE(first.sdResults.empty());

  enter("/m/next", {&spec});  // the chain still works
  leave();
  EXPECT_THAT(completed(), ElementsAre("/m/next"));
}

TEST_F(MonDirAccumTest, AnEmptyDirectoryIsCompletedEmpty) {
  enter("/m/empty", {&spec});
  leave();
  ASSERT_EQ(first.sdResults.size(), 1u);
  EXPECT_EQ(files(first, 0), 0);
}

TEST_F(MonDirAccumTest, WithoutStatisticsNothingIsRecorded) {
  MonDirChain bare(table, walk.filesystem);
  bare.fire(spec);
  bare.directoryLeft();
  EXPECT_THAT(completed(), IsEmpty());
}

}  // namespace
}  // namespace agent::test
