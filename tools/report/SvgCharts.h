#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "figures/Figures.h"
#include "report/HtmlWriter.h"
#include "report/Treemap.h"

// Drawings of a page, as SVG in it. They lie across in parts of the page's width and have their colours from
// its style sheet, so that one drawing does for a telephone, a wall and a printer. What a drawing shows
// stands in a table beside it as well.

namespace agent::tools {

/// One part of a strip.
struct StripPart {
  const char* label = "";  ///< what it is, for people
  double value = 0;
  size_t colour = 0;  ///< of the strip's colours
};

/// Parts of a whole beside each other.
struct Strip {
  std::string title;  ///< bytes
  Markup kind = "";   ///< which colours the style sheet is to take, and which height
  std::vector<StripPart> parts;
};
void drawStrip(HtmlWriter& page, const Strip& strip);

/// Columns for space and for entries of some classes.
struct HistogramChart {
  std::string title;
  std::span<const char* const> labels;  ///< what stands below the columns, short
  std::span<const char* const> classes;
  const Histogram* histogram = nullptr;
  size_t remarkable = static_cast<size_t>(-1);  ///< a class whose columns have a colour of their own
};
void drawHistogram(HtmlWriter& page, const HistogramChart& chart);

/// Directories by their space, inside each other.
struct TreemapChart {
  std::string title;
  SpaceOf spaceOf = SpaceOf::DIRECTLY_IN;
  double height = 0;                          ///< pixels
  std::vector<TreemapDirectory> directories;  ///< paths as they are to be shown
};
void drawTreemap(HtmlWriter& page, const TreemapChart& chart);

}  // namespace agent::tools
