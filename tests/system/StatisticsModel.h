#pragma once

#include <sys/stat.h>

#include <map>
#include <string>
#include <vector>

#include "system/Definition.h"

namespace agent::test {

/// What statistics have to say about a tree, worked out anew: from lstat of every entry, in the order in
/// which the system lists them, by the rules for readers of results. Nothing of the program is called.
class StatisticsModel {
 public:
  struct Entry {
    std::string path;
    struct stat status;
    size_t parent;                         ///< the directory that lists it; the root's own is the root
    size_t end;                            ///< of a directory: behind the last entry below it
    int type;                              ///< 1 file, 2 link, 3 directory, 4 FIFO, 5 socket, 6 device
    long long blocks, modified, accessed;  ///< 512-byte units; milliseconds
    unsigned flags;
    long links;
  };

  /// Reads the tree, which nobody may change from now on.
  /// @param root the mount point
  /// @param filesystem its id
  explicit StatisticsModel(const std::string& root, int filesystem = 1);

  /// In walk order; the root first.
  const std::vector<Entry>& entries() const { return entries_; }
  size_t find(const std::string& path) const;
  /// The directories in the order in which a walk leaves them.
  const std::vector<size_t>& left() const { return left_; }

  /// The CuStatResults node of a statistic about the whole tree.
  /// @param now the second in which the scan took place, in milliseconds
  std::string results(const Record& statistic, long long now) const;
  /// The same about a monitored directory: its own entry is not in it.
  std::string results(const Record& statistic, long long now, size_t directory) const;
  /// The SMonDir node of a directory that these specs met, a row each.
  std::string monitored(size_t directory, const std::string& specs) const;

 private:
  class Gathering;

  void list(size_t directory);
  void add(const std::string& path, size_t parent);
  std::string attributes(const Entry& entry) const;
  std::string owners(const Entry& entry) const;

  int filesystem_;
  std::vector<Entry> entries_;
  std::vector<size_t> left_;
};

/// The CuStatDef row of a statistic as a result repeats it.
std::string statisticRow(const Record& statistic);

/// A node of a result.
std::string resultNode(const std::string& tag, const std::string& content);

std::string resultCell(const std::string& text);
inline std::string resultCell(long long number) {
  return resultCell(std::to_string(number));
}

/// A row of a result, of texts and numbers.
template <typename... Cell>
std::string resultRow(const Cell&... cells) {
  std::string row;
  ((row += resultCell(cells) + ","), ...);
  row.back() = '\n';
  return row;
}

/// The space and inode figures of a mounted file system by their columns, from statvfs.
std::map<std::string, std::string> spaceFigures(const std::string& path);

/// Puts values in the place of their names in braces.
std::string filled(std::string text, const std::map<std::string, std::string>& values);

/// The first line in which two texts differ; empty if they don't.
std::string firstDifference(const std::string& expected, const std::string& actual);

}  // namespace agent::test
