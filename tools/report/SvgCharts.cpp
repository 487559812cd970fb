#include "report/SvgCharts.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "Common/SafeText.h"
#include "report/HtmlParts.h"

namespace agent::tools {

namespace {

// Of a treemap, in pixels; its width is that of the page, and it is laid out for this one.
constexpr double TREEMAP_WIDTH = 1060;
constexpr TreemapFrame FRAME = {20, 3};
constexpr double GAP = 1;           // on each side of a cell
constexpr double LETTER = 6.9;      // as wide as a letter is on average, and then some
constexpr double LETTER_EDGE = 12;  // what a label has on both sides together
constexpr double LINE = 16;
constexpr double FIRST_LINE = 15;
constexpr size_t SHORTEST_LABEL = 8;  // that says something when it is cut
constexpr size_t BRANCH_COLOURS = 8;

// Of a histogram, in pixels.
constexpr double PLOT_TOP = 18;
constexpr double PLOT_HEIGHT = 120;
constexpr double PLOT_BOTTOM = PLOT_TOP + PLOT_HEIGHT;

/// The name of a drawing, which stands in it: a title, and a description where there is more to say.
void name(HtmlWriter& page, const std::string& title, const std::string& description = {}) {
  const size_t id = page.nextId();
  page << " role=\"img\" aria-labelledby=\"t" << id << "\"";
  if (!description.empty()) page << " aria-describedby=\"d" << id << "\"";
  page << "><title id=\"t" << id << "\">" << text(title) << "</title>";
  if (!description.empty()) page << "<desc id=\"d" << id << "\">" << text(description) << "</desc>";
}

/// The largest of some values, in words.
std::string largestInWords(std::span<const char* const> labels, const std::vector<double>& values) {
  constexpr size_t WORTH_TELLING = 3;
  double sum = 0;
  std::vector<size_t> order;
  for (size_t i = 0; i < values.size() && i < labels.size(); ++i) {
    sum += values[i];
    if (values[i] > 0) order.push_back(i);
  }
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return values[a] > values[b]; });
  std::string words;
  for (size_t i = 0; i < order.size() && i < WORTH_TELLING; ++i) {
    words += (words.empty() ? "" : "; ") + shareText(values[order[i]], sum) + " " + labels[order[i]];
  }
  return words.empty() ? "nothing" : words;
}

std::vector<double> sharesOf(const std::vector<int64_t>& numbers) {
  const double sum = sumOf(numbers);
  std::vector<double> shares;
  shares.reserve(numbers.size());
  for (const int64_t number : numbers) {
    shares.push_back(sum > 0 ? std::max(0.0, static_cast<double>(number)) / sum : 0);
  }
  return shares;
}

/// A column of a histogram; one of something is seen.
double columnHeight(double share, double largest) {
  return share > 0 ? std::max(2.0, share / largest * PLOT_HEIGHT) : 0;
}

/// At which width of the page a label fits: 0 at that of a telephone, 1 of a tablet or a sheet of paper, 2 of
/// a screen. None where it never does.
std::optional<size_t> widthClassOf(double part, size_t columns) {
  static constexpr std::array<double, 3> WIDTHS = {320, 660, 1000};
  const double needed = static_cast<double>(columns) * LETTER + LETTER_EDGE;
  const auto* const found =
      std::find_if(WIDTHS.begin(), WIDTHS.end(), [&](double width) { return part * width >= needed; });
  if (found == WIDTHS.end()) return std::nullopt;
  return static_cast<size_t>(found - WIDTHS.begin());
}

/// A line of text in a cell, where there is room for it.
void label(HtmlWriter& page, const std::string& bytes, double part, double y) {
  const size_t columns = displayWidth(safeText(bytes));
  std::optional<size_t> width = widthClassOf(part, columns);
  size_t shown = columns;
  if (!width) {
    shown = static_cast<size_t>(std::max(0.0, (part * 1000 - LETTER_EDGE) / LETTER));
    if (shown < SHORTEST_LABEL) return;
    width = 2;
  }
  page << "<text class=\"w" << *width << "\" x=\"6\" y=\"" << Measure{y} << "\">"
       << Text::fitted(bytes, shown) << "</text>";
}

class TreemapDrawing {
 public:
  TreemapDrawing(HtmlWriter& page, const TreemapChart& chart)
      : page_(page),
        chart_(chart),
        directories_(withForks(chart.directories)),
        cells_(layOut(directories_, chart.spaceOf, {0, 0, TREEMAP_WIDTH, chart.height}, FRAME)) {}

  void draw() {
    page_ << "<svg class=\"treemap\" width=\"100%\" height=\"" << Measure{chart_.height} << "\"";
    name(page_, chart_.title, description());
    for (const TreemapCell& cell : cells_) {
      if (cell.place.width > 2 * GAP && cell.place.height > 2 * GAP) draw(cell);
    }
    page_ << "</svg>\n";
  }

 private:
  std::string description() const {
    std::string words;
    for (const TreemapCell& cell : cells_) {
      if (cell.parent != TreemapCell::NO_FRAME) break;
      words += (words.empty() ? "" : "; ") + directories_[cell.directory].path + " " + humanSpace(cell.space);
    }
    return words;
  }

  /// A path without that of the frame around it.
  std::string labelOf(const TreemapCell& cell) const {
    std::string_view path = directories_[cell.directory].path;
    if (cell.parent == TreemapCell::NO_FRAME) return std::string(path);
    const size_t frame = cells_[cell.parent].directory;
    if (frame == cell.directory) return "directly in it";
    path.remove_prefix(std::min(path.size(), directories_[frame].path.size()));
    while (path.starts_with('/')) path.remove_prefix(1);
    return std::string(path);
  }

  void draw(const TreemapCell& cell) {
    const double width = cell.place.width - 2 * GAP, height = cell.place.height - 2 * GAP;
    const double part = width / TREEMAP_WIDTH;
    page_ << "<svg class=\"";
    if (cell.isFrame) {
      page_ << "frame";
    } else {
      page_ << "cell b" << cell.branch % BRANCH_COLOURS;
    }
    page_ << "\" x=\"" << Measure{100 * (cell.place.x + GAP) / TREEMAP_WIDTH} << "%\" y=\""
          << Measure{cell.place.y + GAP} << "\" width=\"" << Measure{100 * part} << "%\" height=\""
          << Measure{height} << "\"><title>" << text(directories_[cell.directory].path) << "\n"
          << text(humanSpace(cell.space)) << "</title><rect width=\"100%\" height=\"100%\" rx=\"3\"/>";
    if (height >= LINE + 2) label(page_, labelOf(cell), part, FIRST_LINE);
    if (!cell.isFrame && height >= 2 * LINE + 4)
      label(page_, humanSpace(cell.space), part, FIRST_LINE + LINE);
    page_ << "</svg>\n";
  }

  HtmlWriter& page_;
  const TreemapChart& chart_;
  std::vector<TreemapDirectory> directories_;
  std::vector<TreemapCell> cells_;
};

}  // namespace

void drawStrip(HtmlWriter& page, const Strip& strip) {
  std::vector<const char*> labels;
  std::vector<double> values;
  double sum = 0;
  for (const StripPart& part : strip.parts) {
    labels.push_back(part.label);
    values.push_back(std::max(0.0, part.value));
    sum += values.back();
  }
  page << "<svg class=\"strip " << strip.kind << "\" width=\"100%\"";
  name(page, strip.title + ": " + largestInWords(labels, values));
  double at = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    const double share = sum > 0 ? values[i] / sum : 0;
    if (share <= 0) continue;
    page << "<rect class=\"c" << strip.parts[i].colour << "\" x=\"" << Measure{100 * at} << "%\" width=\""
         << Measure{100 * share} << "%\" height=\"100%\"><title>" << text(labels[i]) << ": "
         << text(shareText(values[i], sum)) << "</title></rect>";
    at += share;
  }
  page << "</svg>";
}

void drawHistogram(HtmlWriter& page, const HistogramChart& chart) {
  const std::vector<double> space = sharesOf(chart.histogram->blocks),
                            entries = sharesOf(chart.histogram->counts);
  const double largest = std::max({1e-9, *std::max_element(space.begin(), space.end()),
                                   *std::max_element(entries.begin(), entries.end())});
  const double slot = 100.0 / static_cast<double>(chart.labels.size());
  page << "<svg class=\"histogram\" width=\"100%\" height=\"162\"";
  name(page, chart.title,
       "Of the space " + largestInWords(chart.classes, space) + ". Of the entries " +
           largestInWords(chart.classes, entries) + ".");
  for (size_t i = 0; i < chart.labels.size(); ++i) {
    const double left = slot * static_cast<double>(i);
    const double spaceHeight = columnHeight(space[i], largest),
                 entriesHeight = columnHeight(entries[i], largest);
    page << "<g";
    if (i == chart.remarkable) page << " class=\"remarkable\"";
    page << "><title>" << text(chart.classes[i]) << ": " << text(shareText(space[i], 1)) << " of the space, "
         << text(shareText(entries[i], 1)) << " of the entries</title><rect class=\"space\" x=\""
         << Measure{left + 0.10 * slot} << "%\" y=\"" << Measure{PLOT_BOTTOM - spaceHeight} << "\" width=\""
         << Measure{0.46 * slot} << "%\" height=\"" << Measure{spaceHeight}
         << "\"/><rect class=\"entries\" x=\"" << Measure{left + 0.60 * slot} << "%\" y=\""
         << Measure{PLOT_BOTTOM - entriesHeight} << "\" width=\"" << Measure{0.28 * slot} << "%\" height=\""
         << Measure{entriesHeight} << "\"/>";
    if (space[i] > 0) {
      page << "<text class=\"value\" x=\"" << Measure{left + 0.33 * slot} << "%\" y=\""
           << Measure{PLOT_BOTTOM - spaceHeight - 5} << "\">" << text(shareText(space[i], 1)) << "</text>";
    }
    page << "<text class=\"tick\" x=\"" << Measure{left + 0.5 * slot} << "%\" y=\""
         << Measure{PLOT_BOTTOM + 17} << "\">" << text(chart.labels[i]) << "</text></g>\n";
  }
  page << "<line class=\"base\" x1=\"0\" x2=\"100%\" y1=\"" << Measure{PLOT_BOTTOM} << "\" y2=\""
       << Measure{PLOT_BOTTOM} << "\"/></svg>\n";
}

void drawTreemap(HtmlWriter& page, const TreemapChart& chart) {
  TreemapDrawing(page, chart).draw();
}

}  // namespace agent::tools
