#include "report/HtmlGlance.h"

#include <algorithm>
#include <array>
#include <string>

#include "Scan/results/STimeDist.h"
#include "report/HtmlSource.h"
#include "report/SvgCharts.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

constexpr size_t WITHIN_A_MONTH = 3;  // of AGE_CLASSES, how many begin with these

// From how full on a file system is told to be so.
constexpr double NEARLY_FULL = 0.85;
constexpr double FULL = 0.95;

double spaceOf(const IdentityFigures& one) {
  return std::max(0.0, static_cast<double>(one.blocks));
}

double spaceOfUsers(const SourceFigures& found) {
  double sum = 0;
  for (const IdentityFigures& one : found.users) sum += spaceOf(one);
  return sum;
}

double spaceOfGoneUsers(const SourceFigures& found) {
  double sum = 0;
  for (const IdentityFigures& one : found.users) sum += one.identity.gone ? spaceOf(one) : 0;
  return sum;
}

/// The ages that count for people: since last use, or else since last change. Null where neither is known.
const AgeFigures* usualAges(const SourceFigures& found) {
  for (const int16_t type : {STimeDist::ACCESSED, STimeDist::MODIFIED}) {
    for (const AgeFigures& ages : found.ages) {
      if (ages.type == type && sumOf(ages.ages.blocks) > 0) return &ages;
    }
  }
  return nullptr;
}

double entriesCounted(const SourceFigures& found) {
  return found.summary ? 1 + static_cast<double>(found.summary->files) : 0;
}

double spaceWithAges(const SourceFigures& found) {
  const AgeFigures* const ages = usualAges(found);
  return ages != nullptr ? sumOf(ages->ages.blocks) : 0;
}

/// Of the statistics of the whole file system the one that has counted most; null where none was asked.
/// @param counted how much one has; 0 where it wasn't asked
const SourceFigures* widest(const FilesystemFigures& filesystem, double (*counted)(const SourceFigures&)) {
  const SourceFigures* found = nullptr;
  for (const StatisticFigures& statistic : filesystem.statistics) {
    if (!statistic.onFilesystem) continue;
    const double count = counted(*statistic.onFilesystem);
    if (count > (found != nullptr ? counted(*found) : 0)) found = &*statistic.onFilesystem;
  }
  return found;
}

class Card {
 public:
  Card(HtmlParts& parts, const FilesystemFigures& filesystem)
      : parts_(parts), page_(parts.page()), filesystem_(filesystem) {}

  void print(size_t index);

 private:
  void space();
  void ages(const AgeFigures& ages);
  void tiles();
  void tile(Markup title, const std::string& figure, const std::string& remark);

  HtmlParts& parts_;
  HtmlWriter& page_;
  const FilesystemFigures& filesystem_;
};

void Card::print(size_t index) {
  page_ << "<article class=\"card\" aria-labelledby=\"c" << index << "\">\n<h3 id=\"c" << index
        << "\"><a href=\"#f" << index << "\">";
  parts_.name(filesystem_.mountPoint);
  page_ << "</a> <span class=\"remark\">" << text(filesystem_.kind) << "</span>";
  if (!filesystem_.scanned) page_ << " <span class=\"badge\">not scanned</span>";
  page_ << "</h3>\n<div class=\"strips\">\n";
  space();
  const SourceFigures* const aged = widest(filesystem_, spaceWithAges);
  if (aged != nullptr) ages(*usualAges(*aged));
  page_ << "</div>\n";
  tiles();
  page_ << "</article>\n";
}

void Card::space() {
  const auto used = static_cast<double>(filesystem_.used),
             capacity = static_cast<double>(filesystem_.capacity);
  Strip strip{"Space in use", "gauge", {}};
  page_ << "<div>\n<p class=\"headline\"><strong>" << text(shareText(used, capacity)) << "</strong> in use";
  if (used >= FULL * capacity && capacity > 0) {
    strip.kind = "gauge full";
    page_ << " <span class=\"badge\">full</span>";
  } else if (used >= NEARLY_FULL * capacity && capacity > 0) {
    strip.kind = "gauge nearly";
    page_ << " <span class=\"badge\">nearly full</span>";
  }
  page_ << "</p>\n";
  strip.parts = {{"used", used, 0}, {"free", std::max(0.0, capacity - used), 1}};
  drawStrip(page_, strip);
  page_ << "\n<p class=\"remark\">" << text(humanBlocks(filesystem_.used)) << " of "
        << text(humanBlocks(filesystem_.capacity)) << " used, " << text(humanBlocks(filesystem_.free))
        << " free</p>\n</div>\n";
}

void Card::ages(const AgeFigures& ages) {
  static constexpr std::array<const char*, 4> LABELS = {"within 30 days", "within a year", "longer ago",
                                                        "in the future"};
  Strip strip{std::string("Space by ") + ages.time(), "ages", {}};
  for (const char* label : LABELS) strip.parts.push_back({label, 0, strip.parts.size()});
  for (size_t i = 0; i < ages.ages.blocks.size(); ++i) {
    const size_t part = i < WITHIN_A_MONTH ? 0 : i < OLDER_THAN_A_YEAR ? 1 : i == OLDER_THAN_A_YEAR ? 2 : 3;
    strip.parts[part].value += std::max(0.0, static_cast<double>(ages.ages.blocks[i]));
  }
  if (strip.parts.back().value <= 0) strip.parts.pop_back();
  const double whole = sumOf(ages.ages.blocks),
               old = static_cast<double>(ages.ages.blocks[OLDER_THAN_A_YEAR]);
  page_ << "<div>\n<p class=\"headline\"><strong>" << text(shareText(old, whole)) << "</strong> ";
  if (ages.type == STimeDist::ACCESSED) {
    page_ << "hasn&#39;t been used for a year";
  } else {
    page_ << "hasn&#39;t been changed for a year";
  }
  page_ << "</p>\n";
  drawStrip(page_, strip);
  page_ << "\n<ul class=\"legend\">\n";
  for (const StripPart& part : strip.parts) {
    page_ << "<li><span class=\"key a" << part.colour << "\"></span>" << text(shareText(part.value, whole))
          << " " << text(part.label) << "</li>\n";
  }
  page_ << "</ul>\n</div>\n";
}

void Card::tile(Markup title, const std::string& figure, const std::string& remark) {
  page_ << "<div><dt>" << title << "</dt><dd><strong>";
  parts_.name(figure);
  page_ << "</strong> <span class=\"remark\">" << text(remark) << "</span></dd></div>\n";
}

void Card::tiles() {
  const SourceFigures* const counted = widest(filesystem_, entriesCounted);
  const SourceFigures* const owned = widest(filesystem_, spaceOfUsers);
  if (counted == nullptr && owned == nullptr) return;
  page_ << "<dl class=\"tiles\">\n";
  if (counted != nullptr) {
    const SummaryFigures& summary = *counted->summary;
    tile("Counted", countOf(summary.files, "file", "files"),
         "in " + countOf(summary.directories, "directory", "directories"));
    tile("They take", humanBlocks(summary.blocks), "allocated");
  }
  if (owned != nullptr) {
    const double whole = spaceOfUsers(*owned), gone = spaceOfGoneUsers(*owned);
    const IdentityFigures& first = *std::max_element(
        owned->users.begin(), owned->users.end(),
        [](const IdentityFigures& a, const IdentityFigures& b) { return a.blocks < b.blocks; });
    tile("Owner with the most", first.identity.name,
         humanBlocks(first.blocks) + ", " + shareText(spaceOf(first), whole) +
             (first.identity.gone ? ", gone" : ""));
    tile("Of owners who are gone", shareText(gone, whole), humanSpace(gone) + " of " + humanSpace(whole));
  }
  page_ << "</dl>\n";
}

}  // namespace

void printGlance(HtmlParts& parts, const FilesystemFigures& filesystem, size_t index) {
  Card(parts, filesystem).print(index);
}

}  // namespace agent::tools
