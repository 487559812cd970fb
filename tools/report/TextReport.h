#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "figures/Figures.h"
#include "terminal/Screen.h"

namespace agent::tools {

/// How much of a result a report shows.
struct ReportStyle {
  size_t rows = 10;            ///< lines of each list
  Order order = Order::SPACE;  ///< what its lists are sorted by
  bool details = false;        ///< files with their apparent size and how many names they have
};

/// Prints a result for a person to look at: as wide as the screen, one part for each file system.
class TextReport {
 public:
  TextReport(std::ostream& out, const Screen& screen, const ReportStyle& style)
      : out_(out), screen_(screen), style_(style), rows_(style.rows), width_(screen.width) {}

  /// What is sound of a result, with a warning on top where that isn't all.
  void print(const Figures& figures);

 private:
  void warning(const ResultFault& fault);
  void filesystem();
  void statistic(const StatisticFigures& statistic);
  void ofDirectories(const StatisticFigures& statistic);
  void source(const SourceFigures& found);
  void identities(const char* heading, const std::vector<IdentityFigures>& all);
  void ages(const AgeFigures& ages);
  void histogram(std::span<const char* const> labels, const Histogram& histogram);
  void directories(const std::vector<DirectoryFigures>& all);
  void directory(const std::string& path, int64_t blocks, int64_t count, const char* what);
  void files(const FileList& list);
  void types(const std::vector<TypeFigures>& all);
  void share(const std::string& name, int64_t blocks, const std::string& count, int64_t largest);
  std::string shown(const std::string& path, size_t width) const;
  void title(const std::string& text);
  void section(const std::string& text);
  void more(size_t total);

  std::ostream& out_;
  Screen screen_;
  ReportStyle style_;
  size_t rows_;
  size_t width_;
  const FilesystemFigures* filesystem_ = nullptr;  // the one being shown
};

}  // namespace agent::tools
