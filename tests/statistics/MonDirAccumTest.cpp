#include "Scan/statistics/MonDirAccum.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Scan/results/MonDirSpec.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/statistics/CuStatDef.h"
#include "statistics/WalkStandIn.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// One chain with one statistic; the test plays the walk and the activators.
class MonDirAccumTest : public ::testing::Test {
 protected:
  MonDirAccumTest() {
    first.sdSummary = true;
    chain.append(firstAccum);
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
  void file(const std::string& name) {
    current = WalkStandIn::file(name, 2);
    for (FileAction* action : row) action->actUpon(walk.scanner, current);
  }
  std::vector<std::string> completed() const {
    std::vector<std::string> names;
    for (const SMonDir* directory : table.completed()) names.push_back(directory->faName);
    return names;
  }

  WalkStandIn walk;
  MonDirTable table;
  CuStatDef first;
  MonDirAccum firstAccum{first, walk.filesystem};
  MonDirChain chain{table, walk.filesystem};
  std::vector<FileAction*> row{&firstAccum, &chain};
  MonDirSpec spec;
  FileAttributes current;
};

TEST_F(MonDirAccumTest, ADirectoryThatIsNotEnteredDoesNotWaitForASibling) {
  enter("/m/");
  meet("/m/tooDeep", {&spec});
  for (FileAction* action : row) action->directoryPassedOver();
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

}  // namespace
}  // namespace agent::test
