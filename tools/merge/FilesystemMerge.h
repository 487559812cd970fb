#pragma once

#include <string>
#include <vector>

#include "merge/StatisticMerge.h"

namespace agent::tools {

/// Joins the sections of one file system.
class FilesystemMerge {
 public:
  /// @param sections the one that the others were taken out of in front
  FilesystemMerge(std::vector<Section*> sections, std::vector<std::string>& notes)
      : sections_(std::move(sections)), notes_(notes) {}

  /// Appends what a result has of the file system.
  /// @throws ResultFileError where a slice wasn't walked, or the results aren't of one definition
  void appendTo(std::vector<ResultNode>& nodes);

 private:
  ResultNode joinedFilesystem() const;
  std::vector<ResultNode> monitored();
  std::vector<const ResultNode*> definitions() const;
  ResultNode statistic(const ResultNode& definition);
  void stripSlashes(ResultNode& node) const;

  std::vector<Section*> sections_;
  std::vector<std::string>& notes_;
};

}  // namespace agent::tools
