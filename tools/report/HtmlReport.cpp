#include "report/HtmlReport.h"

#include <algorithm>
#include <string>

#include "QLMlib/common/ut/Product.h"
#include "report/HtmlGlance.h"
#include "report/HtmlGrowth.h"
#include "report/HtmlParts.h"
#include "report/HtmlSource.h"
#include "report/HtmlStyle.h"
#include "report/HtmlWriter.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

class HtmlReport {
 public:
  HtmlReport(std::ostream& out, const Figures& figures, const Comparison* comparison, size_t rows)
      : out_(out), page_(out), parts_(page_, rows), figures_(figures), comparison_(comparison) {}

  void print() {
    head();
    page_ << "<body>\n<a class=\"skip\" href=\"#figures\">Skip to the figures</a>\n";
    banner();
    contents();
    page_ << "<main id=\"figures\" tabindex=\"-1\">\n";
    if (figures_.fault) warning();
    glance();
    if (comparison_ != nullptr) printGrowth(parts_, *comparison_);
    for (size_t i = 0; i < figures_.filesystems.size(); ++i) filesystem(i);
    page_ << "</main>\n";
    footnotes();
    page_ << "</body>\n</html>\n";
  }

 private:
  void head();
  void banner();
  void contents();
  void warning();
  void glance();
  void filesystem(size_t index);
  void facts(const FilesystemFigures& filesystem);
  void footnotes();

  std::ostream& out_;
  HtmlWriter page_;
  HtmlParts parts_;
  const Figures& figures_;
  const Comparison* comparison_;
};

void HtmlReport::head() {
  page_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '"
        << text(HTML_STYLE_HASH)
        << "'; base-uri 'none'; form-action 'none'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n"
           "<meta name=\"referrer\" content=\"no-referrer\">\n<title>Scan report";
  for (size_t i = 0; i < figures_.filesystems.size(); ++i) {
    if (i == 0) {
      page_ << ": ";
    } else {
      page_ << ", ";
    }
    page_ << text(figures_.filesystems[i].mountPoint);
  }
  page_ << "</title>\n<style>";
  out_ << HTML_STYLE;  // beside literals the one thing that isn't text
  page_ << "</style>\n</head>\n";
}

void HtmlReport::banner() {
  page_ << "<header>\n<h1>Scan report</h1>\n<p>"
        << text(countOf(static_cast<int64_t>(figures_.filesystems.size()), "file system", "file systems"));
  int64_t latest = 0;
  for (const FilesystemFigures& one : figures_.filesystems) latest = std::max(latest, one.scanTime);
  if (latest > 0) {
    page_ << ", <time datetime=\"" << text(formattedUtc(latest, "%Y-%m-%dT%H:%M:%SZ")) << "\">"
          << text(humanUtc(latest)) << "</time>";
  }
  page_ << "</p>\n</header>\n";
}

void HtmlReport::contents() {
  if (figures_.filesystems.empty()) return;
  page_ << "<nav aria-label=\"Contents\">\n<ul>\n";
  if (comparison_ != nullptr) page_ << "<li><a href=\"#growth\">What has changed</a></li>\n";
  for (size_t i = 0; i < figures_.filesystems.size(); ++i) {
    const FilesystemFigures& one = figures_.filesystems[i];
    page_ << "<li><a href=\"#f" << i << "\">";
    parts_.name(one.mountPoint);
    page_ << "</a>";
    if (!one.statistics.empty()) page_ << "\n<ul>\n";
    for (size_t k = 0; k < one.statistics.size(); ++k) {
      page_ << "<li><a href=\"#f" << i << "s" << k << "\">";
      parts_.name(one.statistics[k].displayName());
      page_ << "</a></li>\n";
    }
    if (!one.statistics.empty()) page_ << "</ul>\n";
    page_ << "</li>\n";
  }
  page_ << "</ul>\n</nav>\n";
}

void HtmlReport::warning() {
  page_ << "<div class=\"warning\" role=\"alert\">\n<p><strong>This result is not whole.</strong> Shown is "
           "what stands "
           "in front of its fault.</p>\n<p>"
        << Text(figures_.fault->text(), Backslash::KEPT) << "</p>\n</div>\n";
}

void HtmlReport::glance() {
  page_ << "<section aria-labelledby=\"glance\">\n<h2 id=\"glance\">At a glance</h2>\n";
  if (figures_.filesystems.empty()) page_ << "<p>The result is empty: no file system was scanned.</p>\n";
  for (size_t i = 0; i < figures_.filesystems.size(); ++i) printGlance(parts_, figures_.filesystems[i], i);
  page_ << "</section>\n";
}

void HtmlReport::filesystem(size_t index) {
  const FilesystemFigures& filesystem = figures_.filesystems[index];
  page_ << "<section aria-labelledby=\"f" << index << "\">\n<h2 id=\"f" << index << "\">";
  parts_.name(filesystem.mountPoint);
  page_ << "</h2>\n";
  facts(filesystem);
  for (size_t i = 0; i < filesystem.statistics.size(); ++i) {
    const StatisticFigures& statistic = filesystem.statistics[i];
    page_ << "<section>\n<h3 id=\"f" << index << "s" << i << "\">";
    parts_.name(statistic.displayName());
    page_ << "</h3>\n";
    if (!statistic.description.empty()) page_ << "<p>" << text(statistic.description) << "</p>\n";
    HtmlSource source(parts_, filesystem);
    if (statistic.onFilesystem) source.print(*statistic.onFilesystem, 4);
    source.printMonitored(statistic.inDirectories, 4);
    page_ << "</section>\n";
  }
  page_ << "</section>\n";
}

void HtmlReport::facts(const FilesystemFigures& filesystem) {
  page_ << "<p>" << text(filesystem.kind) << ", id " << text(std::to_string(filesystem.id));
  if (filesystem.scanned) {
    page_ << ", scanned ";
  } else {
    page_ << ", <strong>not scanned</strong>, ";
  }
  page_ << text(humanUtc(filesystem.scanTime));
  if (const auto count = static_cast<int64_t>(filesystem.monitored.size()); count > 0) {
    page_ << ", " << text(countOf(count, "monitored directory", "monitored directories"));
  }
  page_ << "</p>\n<div class=\"panel\">\n";
  parts_.beginTable(
      "Space and inodes",
      {{"Of", Column::NAME}, {"Whole", Column::NUMBER}, {"Used", Column::NUMBER}, {"In use", Column::SHARE}});
  const auto capacity = static_cast<double>(filesystem.capacity),
             inodes = static_cast<double>(filesystem.inodes);
  parts_.beginRow("Space");
  parts_.number(humanBlocks(filesystem.capacity));
  parts_.number(humanBlocks(filesystem.used));
  parts_.share(static_cast<double>(filesystem.used), capacity, capacity);
  parts_.endRow();
  if (filesystem.inodes > 0) {
    parts_.beginRow("Inodes");
    parts_.number(grouped(filesystem.inodes));
    parts_.number(grouped(filesystem.usedInodes));
    parts_.share(static_cast<double>(filesystem.usedInodes), inodes, inodes);
    parts_.endRow();
  }
  parts_.endTable();
  page_ << "</div>\n";
}

void HtmlReport::footnotes() {
  page_ << "<footer>\n<h2>How to read the figures</h2>\n<ul>\n"
           "<li>Space is what is allocated; 1 KiB are 1,024 bytes. A file with several names counts once "
           "less than it "
           "has names.</li>\n"
           "<li>An owner is gone when no user database knows the number any more.</li>\n"
           "<li>Times are UTC. In names, control characters, marks that turn the direction of writing, "
           "characters "
           "that can&#39;t be seen and bytes that are no UTF-8 appear as \\xNN, a backslash as "
           "two.</li>\n</ul>\n"
           "<p>scanreport "
        << text(PRODUCT_VERSION) << "</p>\n</footer>\n";
}

}  // namespace

void printHtml(std::ostream& out, const Figures& figures, const Comparison* comparison, size_t rows) {
  HtmlReport(out, figures, comparison, rows).print();
}

}  // namespace agent::tools
