#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "system/InstallTree.h"
#include "system/ResultFile.h"

namespace agent::test {

/// A figure of the summary of a file system by statistic 5 of summaryOf, in the result of a tree's job.
inline long long summed(const InstallTree& tree, const std::string& column, int filesystem = 1) {
  const ResultFile result(tree.result());
  return result.number(result.results(5, filesystem).only("SSummary"), column);
}

/// The names in the records of one class below a node, in file order: those of SFile, SDirectory or SMonDir.
inline std::vector<std::string> namesIn(const ResultFile& result, const Node& node,
                                        const char* tag = "SFile") {
  std::vector<std::string> names;
  for (const Node* record : node.all(tag)) names.push_back(result.text(*record, "faName"));
  return names;
}

/// The value behind an option of the last notification of bin/Agent; empty if it wasn't given.
inline std::string told(const InstallTree& tree, const std::string& option) {
  const auto arguments = tree.agentArguments();
  const auto at = std::find(arguments.rbegin(), arguments.rend(), option);
  return at == arguments.rbegin() || at == arguments.rend() ? std::string() : *std::prev(at);
}

/// The monitored directory that a ResultsByFS is about; empty when it is about a file system.
inline std::string directoryOf(const ResultFile& result, const Node& resultsByFS) {
  const auto directories = resultsByFS.all("SMonDir");
  return directories.empty() ? std::string() : result.text(*directories.front(), "faName");
}

}  // namespace agent::test
