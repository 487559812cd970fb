#pragma once

#include <set>
#include <string>
#include <vector>

#include "system/ResultFile.h"

namespace agent::test {

/// The names in the records of one class below a node, in file order: those of SFile, SDirectory or SMonDir.
inline std::vector<std::string> namesIn(const ResultFile& result, const Node& node,
                                        const char* tag = "SFile") {
  std::vector<std::string> names;
  for (const Node* record : node.all(tag)) names.push_back(result.text(*record, "faName"));
  return names;
}

/// The monitored directory that a ResultsByFS is about; empty when it is about a file system.
inline std::string directoryOf(const ResultFile& result, const Node& resultsByFS) {
  const auto directories = resultsByFS.all("SMonDir");
  return directories.empty() ? std::string() : result.text(*directories.front(), "faName");
}

}  // namespace agent::test
