#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace agent::test {
namespace {

/// Part of every test executable. Whoever starts the tests may have set signals as he likes: nohup ignores
/// one, a shell those of the keyboard for what it starts in the background, a supervisor what it wants.
/// Without their defaults no child's end can be waited for and no job stopped.
class DefaultSignals : public ::testing::Environment {
  void SetUp() override { setDefaultSignals(); }
};

const auto* const REGISTERED = ::testing::AddGlobalTestEnvironment(new DefaultSignals);

}  // namespace
}  // namespace agent::test
