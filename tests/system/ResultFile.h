#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace agent::test {

/// A node of a result: its rows as written, cells unquoted, and the nodes inside.
struct Node {
  std::string tag;
  std::vector<std::vector<std::string>> rows;
  std::vector<Node> children;

  /// The children of a class, in file order.
  std::vector<const Node*> all(std::string_view tag) const;
  /// The one of that class. @throws std::runtime_error unless there is exactly one
  const Node& only(std::string_view tag) const;
};

/// A reader of result files that shares nothing with the program's: it takes the grammar as strictly as the
/// writer is meant to write it.
class ResultFile {
 public:
  /// @throws std::runtime_error with the line that breaks the grammar, or a row that doesn't fit its header
  explicit ResultFile(const std::string& text);

  /// The AgentScan node.
  const Node& root() const { return root_; }
  /// A cell of a node's first row. @throws std::runtime_error if there is none of that column
  const std::string& text(const Node& node, const std::string& column) const;
  long long number(const Node& node, const std::string& column) const;
  /// The column names of a class; empty if the header block doesn't name it.
  const std::vector<std::string>& columns(const std::string& tag) const;

  /// The CuStatResults of a statistic on a file system, or on a monitored directory of it (by its path).
  /// @throws std::runtime_error if there are none
  const Node& results(int statistic, int filesystem) const;

 private:
  std::map<std::string, std::vector<std::string>> columns_;
  Node root_;
};

/// The space and inode figures of a mounted file system by their columns, from statvfs.
std::map<std::string, std::string> spaceFigures(const std::string& path);

/// Puts values in the place of their names in braces.
std::string filled(std::string text, const std::map<std::string, std::string>& values);

/// The first line in which two texts differ; empty if they don't.
std::string firstDifference(const std::string& expected, const std::string& actual);

}  // namespace agent::test
