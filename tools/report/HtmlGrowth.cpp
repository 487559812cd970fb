#include "report/HtmlGrowth.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "Common/SafeText.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

void row(HtmlParts& parts, const Change& change, const std::string& name, double largest) {
  parts.beginRow(name);
  if (!change.before || !change.after) {
    const bool came = change.after.has_value();
    parts.number(humanBlocks(came ? *change.after : *change.before));
    parts.number(came ? "came in" : "left");
    parts.number("");
    parts.growth(0, 0);
  } else {
    parts.number(humanBlocks(*change.after));
    parts.number(growthText(change));
    parts.number(growthShare(change));
    parts.growth(static_cast<double>(change.growth()), largest);
  }
  parts.endRow();
}

void table(HtmlParts& parts, const ChangeTable& table, const std::string& mountPoint, size_t level) {
  parts.beginPanel(table.title, level, "panel");
  parts.beginTable(table.title, {{"Name", Column::NAME},
                                 {"Now", Column::NUMBER},
                                 {"Change", Column::NUMBER},
                                 {"Share", Column::NUMBER},
                                 {"Less or more", Column::STRIP}});
  double largest = 0;
  for (const Change& change : table.changes)
    largest = std::max(largest, std::abs(static_cast<double>(change.growth())));
  for (size_t i = 0; i < table.changes.size() && i < parts.rows(); ++i) {
    row(parts, table.changes[i], belowMountPoint(table.changes[i].name, mountPoint), largest);
  }
  parts.endTable();
  parts.more(table.changes.size());
  parts.endPanel();
}

void filesystem(HtmlParts& parts, const FilesystemChange& change) {
  HtmlWriter& page = parts.page();
  page << "<section>\n<h3>";
  parts.name(change.mountPoint);
  page << "</h3>\n";
  if (!change.used.before || !change.used.after) {
    page << "<p>" << text(change.used.after ? "Only in the new result." : "Only in the older result.")
         << "</p>\n</section>\n";
    return;
  }
  page << "<p>From " << text(humanUtc(change.timeBefore)) << " to " << text(humanUtc(change.timeAfter))
       << ".</p>\n";
  table(parts, {"Used space", {change.used}}, "", 4);
  if (change.statistics.empty()) page << "<p>Nothing that is counted has changed.</p>\n";
  for (const StatisticChange& statistic : change.statistics) {
    page << "<section>\n<h4>";
    parts.name(statistic.name);
    page << "</h4>\n";
    page << "<div class=\"panels\">\n";
    for (const ChangeTable& one : statistic.tables) table(parts, one, change.mountPoint, 5);
    page << "</div>\n";
    page << "</section>\n";
  }
  page << "</section>\n";
}

}  // namespace

void printGrowth(HtmlParts& parts, const Comparison& comparison) {
  HtmlWriter& page = parts.page();
  page << "<section class=\"growth\" aria-labelledby=\"growth\">\n<h2 id=\"growth\">What has changed</h2>\n";
  for (const FilesystemChange& one : comparison.filesystems) filesystem(parts, one);
  page << "</section>\n";
}

}  // namespace agent::tools
