#include "report/HtmlSource.h"

#include <algorithm>
#include <array>
#include <optional>

#include "Scan/results/SFile.h"
#include "report/SvgCharts.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

// What stands below the columns of a histogram: the upper end of each class.
constexpr std::array<const char*, SIZE_CLASSES.size()> SIZE_TICKS = {"1 KiB",  "10 KiB",  "100 KiB", "1 MiB",
                                                                     "10 MiB", "100 MiB", "500 MiB", "more"};
constexpr std::array<const char*, AGE_CLASSES.size()> AGE_TICKS = {
    "1 d", "7 d", "30 d", "60 d", "90 d", "180 d", "270 d", "1 yr", "older", "future"};

// Directories in a treemap: neither so many nor so small ones that they can't be told from each other.
constexpr size_t MOST_DRAWN = 40;
constexpr double SMALLEST_DRAWN = 0.0005;  // of the largest ones' space

double spaceCounted(const SourceFigures& found) {
  return found.summary ? static_cast<double>(found.summary->blocks) : 0;
}

/// Those that are drawn, however the list is sorted.
std::vector<DirectoryFigures> largestOf(std::vector<DirectoryFigures> directories) {
  std::stable_sort(directories.begin(), directories.end(),
                   [](const DirectoryFigures& a, const DirectoryFigures& b) { return a.blocks > b.blocks; });
  if (directories.size() > MOST_DRAWN) directories.resize(MOST_DRAWN);
  double sum = 0;
  for (const DirectoryFigures& one : directories) sum += std::max(0.0, static_cast<double>(one.blocks));
  std::erase_if(directories, [sum](const DirectoryFigures& one) {
    return one.blocks <= 0 || static_cast<double>(one.blocks) < SMALLEST_DRAWN * sum;
  });
  return directories;
}

/// A drawing of some classes, and its table.
void printHistogram(HtmlParts& parts, const HistogramChart& chart) {
  HtmlWriter& page = parts.page();
  page << "<ul class=\"legend\"><li><span class=\"key space\"></span>space</li><li><span class=\"key "
          "entries\"></span>entries</li></ul>\n";
  drawHistogram(page, chart);
  const double space = sumOf(chart.histogram->blocks), entries = sumOf(chart.histogram->counts);
  parts.beginTable(chart.title, {{"Class", Column::NAME},
                                 {"Space", Column::NUMBER},
                                 {"Share", Column::NUMBER},
                                 {"Entries", Column::NUMBER},
                                 {"Share", Column::NUMBER}});
  for (size_t i = 0; i < chart.classes.size(); ++i) {
    const int64_t blocks = chart.histogram->blocks[i], count = chart.histogram->counts[i];
    parts.beginRow(chart.classes[i]);
    parts.number(humanBlocks(blocks));
    parts.number(shareText(static_cast<double>(blocks), space));
    parts.number(grouped(count));
    parts.number(shareText(static_cast<double>(count), entries));
    parts.endRow();
  }
  parts.endTable();
}

void drawSizes(HtmlWriter& page, const Histogram& sizes) {
  Strip strip{"Space by size", "sizes", {}};
  for (size_t i = 0; i < SIZE_CLASSES.size(); ++i) {
    strip.parts.push_back({SIZE_CLASSES[i], static_cast<double>(sizes.blocks[i]), i});
  }
  if (sumOf(sizes.blocks) > 0) drawStrip(page, strip);
}

}  // namespace

void HtmlSource::print(const SourceFigures& found, size_t level) {
  if (found.summary) counted(*found.summary);
  if (found.hasSummaryAlone()) return;
  page_ << "<div class=\"panels\">\n";
  // The order in which two of them beside each other are about as long.
  directories(found, level);
  identities("Owners with the most space", found.users, level);
  types(found, level);
  if (found.sizes) sizes(*found.sizes, level);
  for (const AgeFigures& one : found.ages) ages(one, level);
  identities("Groups with the most space", found.groups, level);
  for (const FileList& list : found.fileLists) files(list, level);
  page_ << "</div>\n";
}

void HtmlSource::counted(const SummaryFigures& summary) {
  page_ << "<p>Counted: " << text(countOf(summary.files, "file", "files")) << ", "
        << text(countOf(summary.directories, "directory", "directories")) << ", "
        << text(humanBlocks(summary.blocks)) << " allocated.</p>\n";
}

void HtmlSource::sizes(const Histogram& sizes, size_t level) {
  parts_.beginPanel("By size", level);
  printHistogram(parts_, {"Entries by size", SIZE_TICKS, SIZE_CLASSES, &sizes});
  parts_.endPanel();
}

void HtmlSource::ages(const AgeFigures& ages, size_t level) {
  const std::string title = std::string("time since ") + ages.time();
  parts_.beginPanel("By " + title + ", on average " + humanAge(ages.averageAge), level);
  printHistogram(parts_, {"Entries by " + title, AGE_TICKS, AGE_CLASSES, &ages.ages, OLDER_THAN_A_YEAR});
  parts_.endPanel();
}

void HtmlSource::identities(const char* heading, const std::vector<IdentityFigures>& all, size_t level) {
  if (all.empty()) return;
  double whole = 0, largest = 0;
  for (const IdentityFigures& one : all) {
    const double space = std::max(0.0, static_cast<double>(one.blocks));
    whole += space;
    largest = std::max(largest, space);
  }
  parts_.beginPanel(heading, level);
  parts_.beginTable(heading, {{"Name", Column::NAME},
                              {"Space", Column::NUMBER},
                              {"Share", Column::SHARE},
                              {"Files", Column::NUMBER},
                              {"Largest", Column::NUMBER},
                              {"Sizes", Column::STRIP}});
  for (size_t i = 0; i < all.size() && i < parts_.rows(); ++i) {
    parts_.beginRow(all[i].identity.name, all[i].identity.gone);
    parts_.number(humanBlocks(all[i].blocks));
    parts_.share(static_cast<double>(all[i].blocks), whole, largest);
    parts_.number(grouped(all[i].files));
    parts_.number(humanBlocks(all[i].largest));
    page_ << "<td class=\"strip-cell\">";
    drawSizes(page_, all[i].sizes);
    page_ << "</td>";
    parts_.endRow();
  }
  parts_.endTable();
  parts_.more(all.size());
  sizesOfIdentities(all);
  parts_.endPanel();
}

/// What the strips show; too wide for a narrow page, so it can be moved.
void HtmlSource::sizesOfIdentities(const std::vector<IdentityFigures>& all) {
  page_ << "<details><summary>Space by size</summary>\n<div class=\"scroll\" tabindex=\"0\" role=\"region\" "
           "aria-label=\"Space by size\">\n<table><caption>Space by size</caption><thead><tr><th "
           "scope=\"col\">Name</th>";
  for (size_t i = 0; i < SIZE_CLASSES.size(); ++i) {
    page_ << "<th scope=\"col\" class=\"number\"><span class=\"key s" << i << "\"></span>"
          << text(SIZE_CLASSES[i]) << "</th>";
  }
  page_ << "</tr></thead><tbody>\n";
  for (size_t i = 0; i < all.size() && i < parts_.rows(); ++i) {
    parts_.beginRow(all[i].identity.name);
    for (const int64_t blocks : all[i].sizes.blocks) parts_.number(humanBlocks(blocks));
    parts_.endRow();
  }
  page_ << "</tbody></table>\n</div></details>\n";
}

void HtmlSource::types(const SourceFigures& found, size_t level) {
  const std::vector<TypeFigures>& all = found.types;
  if (all.empty()) return;
  double largest = 0;
  for (const TypeFigures& type : all) largest = std::max(largest, static_cast<double>(type.blocks));
  constexpr const char* HEADING = "File types with the most space";
  parts_.beginPanel(HEADING, level);
  parts_.beginTable(HEADING, {{"Type", Column::NAME},
                              {"Space", Column::NUMBER},
                              {"Share", Column::SHARE},
                              {"Files", Column::NUMBER}});
  for (size_t i = 0; i < all.size() && i < parts_.rows(); ++i) {
    parts_.beginRow(all[i].extension);
    parts_.number(humanBlocks(all[i].blocks));
    parts_.share(static_cast<double>(all[i].blocks), spaceCounted(found), largest);
    parts_.number(grouped(all[i].files));
    parts_.endRow();
  }
  parts_.endTable();
  parts_.more(all.size());
  parts_.endPanel();
}

void HtmlSource::directories(const SourceFigures& found, size_t level) {
  const std::vector<DirectoryFigures>& all = found.directories;
  if (all.empty()) return;
  constexpr const char* HEADING = "Directories with the most space directly in them";
  const std::vector<DirectoryFigures> drawn = largestOf(all);
  TreemapChart chart{HEADING, SpaceOf::DIRECTLY_IN, 440, {}};
  for (const DirectoryFigures& one : drawn) {
    chart.directories.push_back({below(one.entry.path), static_cast<double>(one.blocks)});
  }
  parts_.beginPanel(HEADING, level, "panel wide");
  if (!drawn.empty()) drawTreemap(page_, chart);
  directoryTable(all, parts_.rows(), spaceCounted(found));
  parts_.more(all.size());
  if (drawn.size() > parts_.rows()) {
    page_ << "<details><summary>All " << drawn.size() << " directories of the picture</summary>\n";
    directoryTable(drawn, drawn.size(), spaceCounted(found));
    page_ << "</details>\n";
  }
  parts_.endPanel();
}

void HtmlSource::directoryTable(const std::vector<DirectoryFigures>& all, size_t rows, double whole) {
  double largest = 0;
  for (const DirectoryFigures& one : all) largest = std::max(largest, static_cast<double>(one.blocks));
  parts_.beginTable("Directories with the most space directly in them", {{"Directory", Column::NAME},
                                                                         {"Space", Column::NUMBER},
                                                                         {"Share", Column::SHARE},
                                                                         {"Files", Column::NUMBER}});
  for (size_t i = 0; i < all.size() && i < rows; ++i) {
    parts_.beginPathRow(below(all[i].entry.path));
    parts_.number(humanBlocks(all[i].blocks));
    parts_.share(static_cast<double>(all[i].blocks), whole, largest);
    parts_.number(grouped(all[i].files));
    parts_.endRow();
  }
  parts_.endTable();
}

void HtmlSource::files(const FileList& list, size_t level) {
  parts_.beginPanel(list.title, level, "panel wide");
  parts_.beginTable(list.title, {{"File", Column::NAME},
                                 {"Space", Column::NUMBER},
                                 {"Not used for", Column::NUMBER},
                                 {"Owner", Column::WORDS}});
  for (size_t i = 0; i < list.files.size() && i < parts_.rows(); ++i) {
    const EntryFigures& file = list.files[i];
    parts_.beginPathRow(below(file.path));
    parts_.number(humanBlocks(file.blocks));
    parts_.number(humanAge(secondsBetween(file.accessed, filesystem_.scanTime)));
    parts_.words(file.owner ? file.owner->name : "?");
    parts_.endRow();
  }
  parts_.endTable();
  parts_.more(list.files.size());
  parts_.endPanel();
}

void HtmlSource::printMonitored(const std::vector<MonitoredFigures>& all, size_t level) {
  if (all.empty()) return;
  page_ << "<div class=\"panels\">\n";
  parts_.beginPanel("Monitored directories, with all that lies below them", level, "panel wide");
  monitoredTable(all);
  for (size_t i = 0; i < all.size() && i < parts_.rows(); ++i) {
    if (all[i].found.hasSummaryAlone()) continue;
    page_ << "<details><summary>In ";
    parts_.name(below(all[i].directory.path));
    page_ << "</summary>\n";
    print(all[i].found, level + 1);
    page_ << "</details>\n";
  }
  parts_.endPanel();
  page_ << "</div>\n";
}

void HtmlSource::monitoredTable(const std::vector<MonitoredFigures>& all) {
  const size_t shown = std::min(all.size(), parts_.rows());
  TreemapChart chart{"Space of the monitored directories", SpaceOf::WHOLE_TREE, 280, {}};
  double largest = 0;
  for (size_t i = 0; i < shown; ++i) {
    if (!all[i].found.summary) continue;
    chart.directories.push_back({below(all[i].directory.path), spaceCounted(all[i].found)});
    largest = std::max(largest, spaceCounted(all[i].found));
  }
  if (chart.directories.size() > 1 && largest > 0) drawTreemap(page_, chart);
  parts_.beginTable("Monitored directories", {{"Directory", Column::NAME},
                                              {"Space", Column::NUMBER},
                                              {"Of what is used", Column::SHARE},
                                              {"Files", Column::NUMBER}});
  for (size_t i = 0; i < shown; ++i) {
    parts_.beginPathRow(below(all[i].directory.path));
    if (const std::optional<SummaryFigures>& summary = all[i].found.summary) {
      parts_.number(humanBlocks(summary->blocks));
      parts_.share(static_cast<double>(summary->blocks), static_cast<double>(filesystem_.used), largest);
      parts_.number(grouped(summary->files));
    } else {
      page_ << "<td colspan=\"3\">no totals were asked for</td>";
    }
    parts_.endRow();
  }
  parts_.endTable();
  parts_.more(all.size());
}

}  // namespace agent::tools
