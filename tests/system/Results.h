#pragma once

#include <algorithm>
#include <map>
#include <string_view>

#include "figures/ResultFile.h"
#include "system/InstallTree.h"

namespace agent::test {

/// A node of a result, as the program for people reads it; that it reads all of a result, and the result is
/// what it should be, is seen by ResultFileTest byte for byte.
using Node = tools::ResultNode;

/// The one child of a class. @throws std::runtime_error unless there is exactly one
const Node& only(const Node& node, std::string_view tag);

/// A whole result.
class ResultFile {
 public:
  /// @throws std::runtime_error with the line where the file isn't what the job writes
  explicit ResultFile(const std::string& fileName);

  /// What stands below the AgentScan node.
  const Node& root() const { return root_; }
  /// A cell of a node's first row. @throws std::runtime_error if there is none of that column
  std::string text(const Node& node, std::string_view column) const;
  long long number(const Node& node, std::string_view column) const { return std::stoll(text(node, column)); }

  /// The CuStatResults of a statistic on a file system. @throws std::runtime_error if there are none
  const Node& results(int statistic, int filesystem) const;

 private:
  Node root_;
};

/// The space and inode figures of a mounted file system by their columns, from statvfs.
std::map<std::string, std::string> spaceFigures(const std::string& path);

/// Puts values in the place of their names in braces.
std::string filled(std::string text, const std::map<std::string, std::string>& values);

/// A figure of the summary of a file system by statistic 5 of summaryOf, in the result of a tree's job.
inline long long summed(const InstallTree& tree, const std::string& column, int filesystem = 1) {
  const ResultFile result(tree.resultFile());
  return result.number(only(result.results(5, filesystem), "SSummary"), column);
}

/// The names in the records of one class below a node, in file order: those of SFile, SDirectory or SMonDir.
inline std::vector<std::string> namesIn(const ResultFile& result, const Node& node,
                                        const char* tag = "SFile") {
  std::vector<std::string> names;
  for (const Node* record : node.childrenOf(tag)) names.push_back(result.text(*record, "faName"));
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
  const auto directories = resultsByFS.childrenOf("SMonDir");
  return directories.empty() ? std::string() : result.text(*directories.front(), "faName");
}

}  // namespace agent::test
