#pragma once

#include <gmock/gmock.h>

#include <functional>

#include "citizen/SlowMount.h"
#include "system/InstallTree.h"

namespace agent::test {

/// A job that scans a slow file system, for a look at it while it runs.
class SlowJob : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!slow_) GTEST_SKIP() << slow_.whyNot();
    define();
  }

  void define() const { tree_.define(summaryOf({slow_.path()}).text()); }

  /// Runs a job until a request hangs ("readdir /"), does something then, and lets the request go.
  /// @param further rules that hold until then
  Outcome scanUntil(const std::string& request, const std::function<void(pid_t)>& act,
                    const std::vector<std::string>& options = {},
                    std::vector<std::string> further = {}) const {
    further.push_back(request + " hang");
    slow_.forgetRequests();
    slow_.rule(further);
    Launch launch = tree_.launch(options);
    launch.whileRunning = [&](pid_t job) {
      EXPECT_TRUE(slow_.sees(request));
      act(job);
      slow_.rule({});
    };
    return run(launch);
  }

  InstallTree tree_;
  SlowMount slow_{tree_.scratch()};
};

}  // namespace agent::test
