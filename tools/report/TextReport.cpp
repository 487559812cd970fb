#include "report/TextReport.h"

#include <algorithm>
#include <numeric>
#include <string>

#include "Common/SafeText.h"
#include "Scan/results/SFile.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

constexpr size_t SIZE = 10;
constexpr size_t COUNT = 13;
constexpr size_t FIXED = 2 + SIZE + COUNT + 8;  // of a line with a bar, all but its name and the bar
constexpr size_t LABEL = 22;                    // of such a line in eighty columns

int64_t sum(const std::vector<int64_t>& numbers) {
  return std::accumulate(numbers.begin(), numbers.end(), int64_t{0}, plus);
}

std::string nameOf(const Identity& identity) {
  return safeText(identity.name) + (identity.gone ? " (gone)" : "");
}

}  // namespace

void TextReport::title(const std::string& text) {
  out_ << screen_.bold(screen_.blue(text)) << '\n';
}

void TextReport::section(const std::string& text) {
  out_ << '\n' << screen_.bold(text) << '\n';
}

void TextReport::more(size_t total) {
  if (total > rows_) out_ << "  .. and " << grouped(static_cast<int64_t>(total - rows_)) << " more\n";
}

/// A path as the report shows it: below the mount point, which stands in the title, and safe.
std::string TextReport::shown(const std::string& path, size_t width) const {
  return fit(safeText(filesystem_->below(path)), width);
}

void TextReport::print(const Figures& figures) {
  if (figures.fault) warning(*figures.fault);
  for (const FilesystemFigures& figuresOfOne : figures.filesystems) {
    if (filesystem_ != nullptr) out_ << '\n';
    filesystem_ = &figuresOfOne;
    filesystem();
    for (const StatisticFigures& one : filesystem_->statistics) statistic(one);
  }
  if (filesystem_ == nullptr) out_ << "The result is empty: no file system was scanned.\n";
}

void TextReport::warning(const ResultFault& fault) {
  title("WARNING: this result is not whole. Shown is what stands in front of its fault.");
  out_ << "  " << fit(safeText(fault.text(), Backslash::KEPT), width_ - 2) << "\n\n";
}

void TextReport::filesystem() {
  const FilesystemFigures& shown = *filesystem_;
  const size_t share = width_ - 44;
  title(fit(safeText(shown.mountPoint), width_));
  out_ << "  " << shown.kind << ", id " << shown.id << (shown.scanned ? ", scanned " : ", NOT scanned, ")
       << humanTime(shown.scanTime) << '\n';
  out_ << "  space         " << padLeft(humanBlocks(shown.capacity), SIZE) << " capacity  "
       << padLeft(humanBlocks(shown.used), SIZE) << " used  " << padLeft(humanBlocks(shown.free), SIZE)
       << " free\n";
  out_ << "  in use        [" << bar(shown.used, shown.capacity, share) << "] "
       << percent(shown.used, shown.capacity) << '\n';
  if (shown.inodes > 0) {
    out_ << "  inodes        [" << bar(shown.usedInodes, shown.inodes, share) << "] "
         << percent(shown.usedInodes, shown.inodes) << " of " << grouped(shown.inodes) << '\n';
  }
  if (const auto monitored = static_cast<int64_t>(shown.monitored.size()); monitored > 0) {
    out_ << "  monitored     " << grouped(monitored) << (monitored == 1 ? " directory\n" : " directories\n");
  }
}

void TextReport::statistic(const StatisticFigures& statistic) {
  if (statistic.onFilesystem) {
    out_ << '\n';
    title("-- " + fit(safeText(statistic.displayName()), width_ - 3));
    source(*statistic.onFilesystem);
  }
  ofDirectories(statistic);
}

void TextReport::ofDirectories(const StatisticFigures& statistic) {
  const std::vector<MonitoredFigures>& all = statistic.inDirectories;
  bool inTable = false;
  for (size_t i = 0; i < all.size() && i < rows_; ++i) {
    const auto& [directoryEntry, found] = all[i];
    // Of many directories with nothing but totals, each is one line.
    const bool totalsAlone = found.hasSummaryAlone();
    if (!inTable || !totalsAlone) {
      std::string heading = safeText(statistic.displayName());
      if (!totalsAlone) heading += "  in " + shown(directoryEntry.path, width_);
      out_ << '\n';
      title("-- " + fit(heading, width_ - 3));
    }
    inTable = totalsAlone;
    if (inTable) {
      directory(directoryEntry.path, found.summary->blocks, found.summary->files, "files");
    } else {
      source(found);
    }
  }
  if (!inTable && all.size() > rows_) out_ << '\n';
  more(all.size());
}

void TextReport::source(const SourceFigures& found) {
  if (found.summary) {
    out_ << "  counted       " << grouped(found.summary->files) << " files, "
         << grouped(found.summary->directories) << " directories, " << humanBlocks(found.summary->blocks)
         << " allocated\n";
  }
  identities("Owners", found.users);
  identities("Groups", found.groups);
  if (found.sizes) {
    section("By size");
    histogram(SIZE_CLASSES, *found.sizes);
  }
  for (const AgeFigures& one : found.ages) ages(one);
  directories(found.directories);
  for (const FileList& list : found.fileLists) files(list);
  types(found.types);
}

/// A line of a table with bars.
void TextReport::share(const std::string& name, int64_t blocks, const std::string& count, int64_t largest) {
  // What a wide screen has beyond eighty columns is shared by name and bar.
  const size_t label = LABEL + (width_ > Screen::USUAL ? (width_ - Screen::USUAL) / 2 : 0);
  const size_t barWidth = width_ - 1 - FIXED - label;
  out_ << "  " << padRight(fit(name, label), label) << padLeft(humanBlocks(blocks), SIZE) << count
       << bar(blocks, largest, barWidth) << '\n';
}

void TextReport::identities(const char* heading, const std::vector<IdentityFigures>& all) {
  if (all.empty()) return;
  section(std::string(heading) + " with the most space");
  for (size_t i = 0; i < all.size() && i < rows_; ++i) {
    share(nameOf(all[i].identity), all[i].blocks, padLeft(grouped(all[i].files), COUNT) + " files  ",
          all.front().blocks);
  }
  more(all.size());
}

void TextReport::histogram(std::span<const char* const> labels, const Histogram& histogram) {
  const int64_t largest = *std::max_element(histogram.blocks.begin(), histogram.blocks.end());
  for (size_t i = 0; i < labels.size(); ++i) {
    share(labels[i], histogram.blocks[i], padLeft(grouped(histogram.counts[i]), COUNT) + "        ", largest);
  }
}

void TextReport::ages(const AgeFigures& ages) {
  section(std::string("By time since ") + ages.time() + ", on average " + humanAge(ages.averageAge) + ", " +
          grouped(sum(ages.ages.counts)) + " entries");
  histogram(AGE_CLASSES, ages.ages);
}

void TextReport::directory(const std::string& path, int64_t blocks, int64_t count, const char* what) {
  const std::string line =
      padLeft(humanBlocks(blocks), SIZE + 2) + padLeft(grouped(count), COUNT) + " " + what + "  ";
  out_ << line << shown(path, width_ - line.size() - 1) << '\n';
}

void TextReport::directories(const std::vector<DirectoryFigures>& all) {
  if (all.empty()) return;
  const bool byEntries = style_.order == Order::ENTRIES;
  section(!byEntries ? "Directories with the most space directly in them"
                     : "Directories with the most entries directly in them, of the " +
                           grouped(static_cast<int64_t>(all.size())) + " with the most space");
  for (size_t i = 0; i < all.size() && i < rows_; ++i) {
    const int64_t count = byEntries ? all[i].files + all[i].directories : all[i].files;
    directory(all[i].entry.path, all[i].blocks, count, byEntries ? "entries" : "files");
  }
  more(all.size());
}

void TextReport::files(const FileList& list) {
  section(std::string(list.title) +
          (!list.orphans ? ""
           : list.age    ? ", with the number"
                         : ", with the owner's number") +
          (style_.details ? ": allocated, apparent size, names" : ""));
  const bool withOwner = list.type != SFile::OLDEST_NOT_BACKED_UP;
  for (size_t i = 0; i < list.files.size() && i < rows_; ++i) {
    const EntryFigures& file = list.files[i];
    std::string line = padLeft(humanBlocks(file.blocks), SIZE + 2) + "  ";
    if (style_.details)
      line += padLeft(humanBytes(file.length), SIZE) + padLeft(grouped(file.links), SIZE / 2) + "  ";
    if (list.age) line += padLeft(humanAge((filesystem_->scanTime - file.accessed) / 1000), COUNT) + "  ";
    if (withOwner) {
      const std::string owner = file.owner ? safeText(file.owner->name) : "?";
      line += padRight(fit(owner, COUNT), COUNT) + "  ";
    }
    out_ << line << shown(file.path, width_ - displayWidth(line)) << '\n';
  }
  more(list.files.size());
  if (style_.details)
    out_ << "  A result tells apparent sizes and names of listed files alone: all totals are of allocated "
            "space.\n";
}

void TextReport::types(const std::vector<TypeFigures>& all) {
  if (all.empty()) return;
  section("File types with the most space");
  for (size_t i = 0; i < all.size() && i < rows_; ++i) {
    share(safeText(all[i].extension), all[i].blocks, padLeft(grouped(all[i].files), COUNT) + " files  ",
          all.front().blocks);
  }
  more(all.size());
}

}  // namespace agent::tools
