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

/// Prints a result for a person to look at: as wide as the screen, one part for each file system.
class TextReport {
 public:
  /// @param rows how many lines of each list are shown
  TextReport(std::ostream& out, const Screen& screen, size_t rows = 10)
      : out_(out), screen_(screen), rows_(rows), width_(screen.width) {}

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
  void directory(const std::string& path, int64_t blocks, int64_t files);
  void files(const FileList& list);
  void types(const std::vector<TypeFigures>& all);
  void share(const std::string& name, int64_t blocks, const std::string& count, int64_t largest);
  std::string shown(const std::string& path, size_t width) const;
  void title(const std::string& text);
  void section(const std::string& text);
  void more(size_t total);

  std::ostream& out_;
  Screen screen_;
  size_t rows_;
  size_t width_;
  const FilesystemFigures* filesystem_ = nullptr;  // the one being shown
};

}  // namespace agent::tools
