#pragma once

#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {

/// Tests of jobs that scan two files.
class JobTest : public SystemTest {
 protected:
  void define() { tree_.define(summaryOf({data()}).text()); }

  /// The number of files that the result counts, or -1 without a result.
  long long filesInResult() const {
    if (!InstallTree::exists(tree_.resultFile())) return -1;
    const ResultFile result(tree_.resultFile());
    return result.number(only(result.results(5, 1), "SSummary"), "sumFileCount");
  }
};

}  // namespace agent::test
