#include "system/JobTest.h"

namespace agent::test {
namespace {

using TraceTest = JobTest;

TEST_F(TraceTest, EachWordAddsItsClasses) {
  for (const auto& [word, mounts, functions] :
       {std::tuple("MIN", false, false), {"mid", true, false}, {"Max", true, true}}) {
    SCOPED_TRACE(word);
    std::filesystem::remove(tree_.traceFile());
    define();

    EXPECT_EQ(tree_.scan({"-debug", word}).status, 0);

    const std::string trace = content(tree_.traceFile());
    EXPECT_EQ(trace.find(">> Current filesystem = ") != std::string::npos, mounts);
    EXPECT_EQ(trace.find("Enter: startScan(...)\n") != std::string::npos, functions);
    EXPECT_EQ(InstallTree::exists(tree_.definitionFile()), functions)
        << "kept for whoever reads such a trace";
  }
}

}  // namespace
}  // namespace agent::test
