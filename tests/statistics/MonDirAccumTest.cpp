#include "Scan/statistics/MonDirAccum.h"

#include <gtest/gtest.h>

#include "Scan/results/MonDirSpec.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/statistics/CuStatDef.h"
#include "statistics/WalkStandIn.h"

namespace agent::test {

// One chain with one statistic; the test plays the walk and the activators.
TEST(MonDirAccumTest, ADirectoryThatIsNotEnteredDoesNotWaitForASibling) {
  WalkStandIn walk;
  MonDirTable table;
  CuStatDef definition;
  definition.sdSummary = true;
  MonDirAccum accumulator(definition, walk.filesystem);
  MonDirChain chain(table, walk.filesystem);
  chain.append(accumulator);
  FileAction* const row[] = {&accumulator, &chain};
  const MonDirSpec spec;
  FileAttributes directory;
  const auto meet = [&](const std::string& name) {
    directory = WalkStandIn::directory(name, 8);
    for (FileAction* action : row) action->actUpon(walk.scanner, directory);
  };
  const auto passThrough = [&] {
    for (FileAction* action : row) action->directoryEntered(directory);
    for (FileAction* action : row) action->directoryLeft();
  };

  meet("/m/tooDeep");
  Activator(chain, spec).actUpon(walk.scanner, directory);
  for (FileAction* action : row) action->directoryPassedOver();
  meet("/m/sibling");
  passThrough();
  EXPECT_TRUE(table.completed().empty());
  EXPECT_TRUE(definition.sdResults.empty());

  meet("/m/next");
  Activator(chain, spec).actUpon(walk.scanner, directory);  // the chain still works
  passThrough();
  ASSERT_EQ(table.completed().size(), 1u);
  EXPECT_EQ(table.completed().front()->faName, "/m/next");
}

}  // namespace agent::test
