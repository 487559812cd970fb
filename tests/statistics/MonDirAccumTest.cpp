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
    first_.sdSummary = true;
    chain_.append(firstAccum_);
  }

  /// The walk meets a directory: the entry reaches every accumulator, then the activators fire.
  void meet(const std::string& name, const std::vector<const MonDirSpec*>& firing = {}) {
    current_ = WalkStandIn::directory(name, 8);
    for (FileAction* action : row_) action->actUpon(walk_.scanner, current_);
    for (const MonDirSpec* fired : firing) Activator(chain_, *fired).actUpon(walk_.scanner, current_);
  }
  void enter(const std::string& name, const std::vector<const MonDirSpec*>& firing = {}) {
    meet(name, firing);
    for (FileAction* action : row_) action->directoryEntered(current_);
  }
  void leave() {
    for (FileAction* action : row_) action->directoryLeft();
  }
  void file(const std::string& name) {
    current_ = WalkStandIn::file(name, 2);
    for (FileAction* action : row_) action->actUpon(walk_.scanner, current_);
  }
  std::vector<std::string> completed() const {
    std::vector<std::string> names;
    for (const SMonDir* directory : table_.completed()) names.push_back(directory->faName);
    return names;
  }

  WalkStandIn walk_;
  MonDirTable table_;
  CuStatDef first_;
  MonDirAccum firstAccum_{first_, walk_.filesystem};
  MonDirChain chain_{table_, walk_.filesystem};
  std::vector<FileAction*> row_{&firstAccum_, &chain_};
  MonDirSpec spec_;
  FileAttributes current_;
};

TEST_F(MonDirAccumTest, ADirectoryThatIsNotEnteredDoesNotWaitForASibling) {
  enter("/m/");
  meet("/m/tooDeep", {&spec_});
  for (FileAction* action : row_) action->directoryPassedOver();
  enter("/m/sibling");
  file("/m/sibling/x");
  leave();
  leave();
  EXPECT_THAT(completed(), IsEmpty());
  EXPECT_TRUE(first_.sdResults.empty());

  enter("/m/next", {&spec_});  // the chain still works
  leave();
  EXPECT_THAT(completed(), ElementsAre("/m/next"));
}

}  // namespace
}  // namespace agent::test
