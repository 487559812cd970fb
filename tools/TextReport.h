#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "ResultFile.h"

namespace agent::tools {

/// Prints a result for a person to look at: eighty columns, one part for each file system.
class TextReport {
 public:
  /// @param color use terminal colours
  /// @param rows how many lines of each list are shown
  TextReport(std::ostream& out, bool color, size_t rows = 10) : out_(out), color_(color), rows_(rows) {}

  /// What is sound of a result, with a warning on top where that isn't all.
  void print(const ResultFile& result);

 private:
  /// One of a statistic's lists of files, and what is shown of each beside size and path.
  struct FileList {
    int16_t type;
    const char* title;
    bool age;
    bool owner;
  };

  void warning(const ResultFault& fault);
  void filesystem(const ResultNode& node);
  void statistic(const ResultNode& definition);
  void ofDirectories(const ResultNode& definition, std::vector<const ResultNode*> all);
  void directoryTotals(const ResultNode& directory, const ResultNode& node);
  void results(const ResultNode& node);
  void summary(const ResultNode& node);
  void owners(const ResultNode& results);
  void totals(const char* title, const std::vector<const ResultNode*>& totals);
  void sizes(const ResultNode& node);
  void ages(const ResultNode& node);
  void histogram(const char* const* labels, const std::vector<int64_t>& sizes,
                 const std::vector<int64_t>& counts);
  void directories(const std::vector<const ResultNode*>& nodes);
  void files(const FileList& list, const std::vector<const ResultNode*>& nodes);
  void fileTypes(const std::vector<const ResultNode*>& nodes);
  std::string shown(const ResultNode& node, size_t width) const;
  void title(const std::string& text);
  void section(const std::string& text);
  void more(size_t total);

  std::ostream& out_;
  bool color_;
  size_t rows_;
  std::string mountPoint_;  // of the file system being shown
  int64_t scanTime_ = 0;    // of the file system being shown, milliseconds since the epoch
};

}  // namespace agent::tools
