#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "figures/Figures.h"
#include "report/HtmlParts.h"

namespace agent::tools {

/// What a statistic has found, as sections of a page: each a drawing and its table.
class HtmlSource {
 public:
  HtmlSource(HtmlParts& parts, const FilesystemFigures& filesystem)
      : parts_(parts), page_(parts.page()), filesystem_(filesystem) {}

  /// @param level of the sections' headings
  void print(const SourceFigures& found, size_t level);

  /// What it has found in each monitored directory.
  void printMonitored(const std::vector<MonitoredFigures>& all, size_t level);

 private:
  void counted(const SummaryFigures& summary);
  void sizes(const Histogram& sizes, size_t level);
  void ages(const AgeFigures& ages, size_t level);
  void identities(const char* heading, const std::vector<IdentityFigures>& all, size_t level);
  void sizesOfIdentities(const std::vector<IdentityFigures>& all);
  void types(const SourceFigures& found, size_t level);
  void directories(const SourceFigures& found, size_t level);
  void directoryTable(const std::vector<DirectoryFigures>& all, size_t rows, double whole);
  void files(const FileList& list, size_t level);
  void monitoredTable(const std::vector<MonitoredFigures>& all);
  std::string below(const std::string& path) const { return filesystem_.below(path); }

  HtmlParts& parts_;
  HtmlWriter& page_;
  const FilesystemFigures& filesystem_;
};

/// Entries of a class of ages that are older than a year; in front of it stand those that are younger, behind
/// it those that are in the future.
inline constexpr size_t OLDER_THAN_A_YEAR = 8;

}  // namespace agent::tools
