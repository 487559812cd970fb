#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "support/ChildProcess.h"

namespace agent::test {
namespace {

/// What a test may know of its starter: where to write, and what is meant for the test program itself.
bool isKept(std::string_view variable) {
  return variable.starts_with("TMPDIR=") || variable.starts_with("GTEST_") ||
         variable.starts_with("SCAN_READ_AHEAD=") ||
         variable.substr(0, variable.find('=')).ends_with("SAN_OPTIONS");
}

/// Part of every test executable. Whoever starts the tests may have set signals as he likes: nohup ignores
/// one, a shell those of the keyboard for what it starts in the background, a supervisor what it wants.
/// Without their defaults no child's end can be waited for and no job stopped. Nor do tests depend on his
/// language, his libraries or what is set for an agent of this host.
class CleanStart : public ::testing::Environment {
  void SetUp() override {
    setDefaultSignals();
    std::vector<std::string> names;
    for (char** variable = environ; *variable != nullptr; ++variable) {
      const std::string_view text(*variable);
      if (!isKept(text)) names.emplace_back(text.substr(0, text.find('=')));
    }
    for (const std::string& name : names) ::unsetenv(name.c_str());
    ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
  }
};

const auto* const REGISTERED = ::testing::AddGlobalTestEnvironment(new CleanStart);

}  // namespace
}  // namespace agent::test
