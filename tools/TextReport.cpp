#include "TextReport.h"

#include <algorithm>
#include <string>

#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "Scan/results/SFile.h"
#include "Scan/results/STimeDist.h"
#include "TextLayout.h"

namespace agent::tools {

namespace {

constexpr size_t WIDTH = 80;
constexpr size_t LABEL = 22;
constexpr size_t BAR = 24;
constexpr size_t SHARE = 36;
constexpr size_t SIZE = 10;
constexpr size_t COUNT = 13;

constexpr const char* BOLD = "\033[1m";
constexpr const char* BLUE = "\033[34m";
constexpr const char* PLAIN = "\033[0m";

constexpr const char* SIZE_LABELS[] = {"up to 1 KiB",        "1 KiB to 10 KiB",  "10 KiB to 100 KiB",
                                       "100 KiB to 1 MiB",   "1 MiB to 10 MiB",  "10 MiB to 100 MiB",
                                       "100 MiB to 500 MiB", "more than 500 MiB"};
constexpr const char* AGE_LABELS[] = {
    "up to 1 day",    "1 to 7 days",     "7 to 30 days",       "30 to 60 days",    "60 to 90 days",
    "90 to 180 days", "180 to 270 days", "270 days to 1 year", "more than a year", "in the future"};

std::string kindOf(int64_t fsType) {
  const auto index = static_cast<size_t>(fsType + 1);
  return index < Filesystem::TYPES.size() ? Filesystem::TYPES[index] : "type " + std::to_string(fsType);
}

std::string displayName(const ResultNode& definition) {
  const std::string creator = definition.text(ScanVOXTags::SD_CREATOR);
  const std::string name = definition.text(ScanVOXTags::SD_NAME);
  if (creator.empty() && name.empty()) return "statistic " + definition.text(ScanVOXTags::SD_ID);
  return safeText(creator.empty() ? name : creator + "." + name);
}

/// A list as it is shown: the largest first, equal ones in the order of the file.
/// @param sizeOf what counts, of one node
template <typename SizeOf>
std::vector<const ResultNode*> largestFirst(const std::vector<const ResultNode*>& nodes, SizeOf sizeOf) {
  std::vector<std::pair<int64_t, const ResultNode*>> bySize;
  bySize.reserve(nodes.size());
  for (const ResultNode* node : nodes) bySize.emplace_back(sizeOf(*node), node);
  std::stable_sort(bySize.begin(), bySize.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<const ResultNode*> sorted;
  sorted.reserve(nodes.size());
  for (const auto& [size, node] : bySize) sorted.push_back(node);
  return sorted;
}

std::vector<const ResultNode*> largestFirst(const std::vector<const ResultNode*>& nodes, const char* column) {
  return largestFirst(nodes, [column](const ResultNode& node) { return node.number(column); });
}

/// What was counted in a monitored directory.
int64_t totalSize(const ResultNode& byFS) {
  const ResultNode* const totals = byFS.child(ScanVOXTags::SR)->child(ScanVOXTags::SUM);
  return totals != nullptr ? totals->number(ScanVOXTags::SUM_TOTAL_SIZE) : 0;
}

int64_t sum(const std::vector<int64_t>& numbers) {
  uint64_t total = 0;
  for (const int64_t number : numbers) total += static_cast<uint64_t>(number);
  return static_cast<int64_t>(total);
}

}  // namespace

void TextReport::title(const std::string& text) {
  if (color_) out_ << BOLD << BLUE;
  out_ << text;
  if (color_) out_ << PLAIN;
  out_ << '\n';
}

void TextReport::section(const std::string& text) {
  out_ << '\n';
  if (color_) out_ << BOLD;
  out_ << text;
  if (color_) out_ << PLAIN;
  out_ << '\n';
}

void TextReport::more(size_t total) {
  if (total > rows_) out_ << "  .. and " << grouped(static_cast<int64_t>(total - rows_)) << " more\n";
}

/// A path as the report shows it: below the mount point, which stands in the title, and safe.
std::string TextReport::shown(const ResultNode& node, size_t width) const {
  std::string path = node.text(ScanVOXTags::FA_NAME);
  if (path.starts_with(mountPoint_)) path.erase(0, mountPoint_.size());
  return path.empty() ? "." : fit(safeText(path), width);
}

void TextReport::print(const ResultFile& result) {
  const std::vector<ResultNode>& nodes = result.nodes;
  if (result.fault) warning(*result.fault);
  int64_t monitored = 0;
  for (size_t i = 0; i < nodes.size(); ++i) {
    const ResultNode& node = nodes[i];
    if (node.tag == ScanVOXTags::FILESYSTEM) {
      if (i > 0) out_ << '\n';
      filesystem(node);
    } else if (node.tag == ScanVOXTags::SD) {
      statistic(node);
    } else if (node.tag == ScanVOXTags::SM) {
      ++monitored;
      if (i + 1 < nodes.size() && nodes[i + 1].tag == ScanVOXTags::SM) continue;
      out_ << "  monitored     " << grouped(monitored)
           << (monitored == 1 ? " directory\n" : " directories\n");
      monitored = 0;
    }
  }
  if (nodes.empty()) out_ << "The result is empty: no file system was scanned.\n";
}

void TextReport::warning(const ResultFault& fault) {
  title("WARNING: this result is not whole. Shown is what stands in front of its fault.");
  out_ << "  " << fit(safeText(fault.text(), Backslash::KEPT), WIDTH - 2) << "\n\n";
}

void TextReport::filesystem(const ResultNode& node) {
  scanTime_ = node.number("fsScanTime");
  mountPoint_ = node.text(Filesystem::FILESYSTEM_MNTPT);
  const int64_t capacity = node.number(Filesystem::FILESYSTEM_CAPACITY);
  const int64_t used = node.number(Filesystem::FILESYSTEM_USEDSPACE);
  const int64_t inodes = node.number(Filesystem::FILESYSTEM_MAXFILES);
  const int64_t usedInodes = node.number(Filesystem::FILESYSTEM_USEDINODES);
  title(fit(safeText(node.text(Filesystem::FILESYSTEM_MNTPT)), WIDTH));
  out_ << "  " << kindOf(node.number(Filesystem::FILESYSTEM_TYPE)) << ", id "
       << node.number(Filesystem::FILESYSTEM_ID)
       << (node.flag(Filesystem::FILESYSTEM_SCANNED) ? ", scanned " : ", NOT scanned, ")
       << humanTime(scanTime_) << '\n';
  out_ << "  space         " << padLeft(humanBlocks(capacity), SIZE) << " capacity  "
       << padLeft(humanBlocks(used), SIZE) << " used  "
       << padLeft(humanBlocks(node.number(Filesystem::FILESYSTEM_FREESPACE)), SIZE) << " free\n";
  out_ << "  in use        [" << bar(used, capacity, SHARE) << "] " << percent(used, capacity) << '\n';
  if (inodes > 0) {
    out_ << "  inodes        [" << bar(usedInodes, inodes, SHARE) << "] " << percent(usedInodes, inodes)
         << " of " << grouped(inodes) << '\n';
  }
}

void TextReport::statistic(const ResultNode& definition) {
  std::vector<const ResultNode*> directories;
  for (const ResultNode* byFS : definition.childrenOf(ScanVOXTags::RESULTS_BY_FS)) {
    const ResultNode* found = byFS->child(ScanVOXTags::SR);
    if (found == nullptr) continue;
    if (byFS->child(ScanVOXTags::SM) != nullptr) {
      directories.push_back(byFS);
      continue;
    }
    out_ << '\n';
    title("-- " + fit(displayName(definition), WIDTH - 3));
    results(*found);
  }
  ofDirectories(definition, directories);
}

void TextReport::ofDirectories(const ResultNode& definition, std::vector<const ResultNode*> all) {
  all = largestFirst(all, totalSize);
  bool inTable = false;
  for (size_t i = 0; i < all.size() && i < rows_; ++i) {
    const ResultNode& directory = *all[i]->child(ScanVOXTags::SM);
    const ResultNode& found = *all[i]->child(ScanVOXTags::SR);
    // Of many directories with nothing but totals, each is one line.
    const bool totalsAlone = found.children.size() == 1 && found.children[0].tag == ScanVOXTags::SUM;
    if (!inTable || !totalsAlone) {
      std::string heading = displayName(definition);
      if (!totalsAlone) heading += "  in " + shown(directory, WIDTH);
      out_ << '\n';
      title("-- " + fit(heading, WIDTH - 3));
    }
    inTable = totalsAlone;
    if (inTable) {
      directoryTotals(directory, found.children[0]);
    } else {
      results(found);
    }
  }
  if (!inTable && all.size() > rows_) out_ << '\n';
  more(all.size());
}

void TextReport::directoryTotals(const ResultNode& directory, const ResultNode& node) {
  out_ << padLeft(humanBlocks(node.number(ScanVOXTags::SUM_TOTAL_SIZE)), SIZE + 2)
       << padLeft(grouped(node.number(ScanVOXTags::SUM_FILE_CNT)), COUNT) << " files  "
       << shown(directory, WIDTH - SIZE - COUNT - 10) << '\n';
}

void TextReport::results(const ResultNode& node) {
  if (const ResultNode* found = node.child(ScanVOXTags::SUM)) summary(*found);
  owners(node);
  if (const ResultNode* found = node.child(ScanVOXTags::SZD)) sizes(*found);
  for (const ResultNode* times : node.childrenOf(ScanVOXTags::TD)) ages(*times);
  directories(largestFirst(node.childrenOf(ScanVOXTags::DIR), ScanVOXTags::DIR_TOTAL_SIZE));

  constexpr FileList LISTS[] = {
      {SFile::LARGEST, "Largest files", false, true},
      {SFile::LEAST_ACCESSED, "Files least recently used", true, true},
      {SFile::OLDEST_NOT_BACKED_UP, "Oldest files that want a backup", true, false},
      {SFile::LARGEST_ORPHAN, "Largest files whose owner is gone, with the owner's number", false, true},
      {SFile::OLDEST_ORPHAN, "Least recently used files whose owner is gone, with the number", true, true}};
  for (const FileList& list : LISTS) {
    std::vector<const ResultNode*> ofList;
    for (const ResultNode* file : node.childrenOf(ScanVOXTags::SFILE)) {
      if (file->number(ScanVOXTags::SFILE_STAT_TYPE) == list.type) ofList.push_back(file);
    }
    files(list, largestFirst(ofList, [&list](const ResultNode& file) {
            return list.age ? -file.number(ScanVOXTags::FA_ACCESSED) : file.number(ScanVOXTags::FA_BLOCKS);
          }));
  }
  fileTypes(largestFirst(node.childrenOf(ScanVOXTags::FTP_SUMM), ScanVOXTags::FTP_SUMM_SPACE_USED));
}

void TextReport::summary(const ResultNode& node) {
  out_ << "  counted       " << grouped(node.number(ScanVOXTags::SUM_FILE_CNT)) << " files, "
       << grouped(node.number(ScanVOXTags::SUM_DIR_CNT)) << " directories, "
       << humanBlocks(node.number(ScanVOXTags::SUM_TOTAL_SIZE)) << " allocated\n";
}

void TextReport::owners(const ResultNode& results) {
  // Owners and groups stand in one row; the identity's type tells them apart.
  std::vector<const ResultNode*> users, groups;
  for (const ResultNode* node : results.childrenOf(ScanVOXTags::SUG)) {
    const ResultNode* identity = node->child(ScanVOXTags::UG_USER_GROUP);
    if (identity != nullptr && identity->number(ScanVOXTags::UG_TYPE) == 2) {
      groups.push_back(node);
    } else {
      users.push_back(node);
    }
  }
  totals("Owners", users);
  totals("Groups", groups);
}

void TextReport::totals(const char* heading, const std::vector<const ResultNode*>& nodes) {
  if (nodes.empty()) return;
  const auto bySize = largestFirst(nodes, ScanVOXTags::SUG_TOTAL_SIZE);
  const int64_t largest = bySize.front()->number(ScanVOXTags::SUG_TOTAL_SIZE);
  section(std::string(heading) + " with the most space");
  for (size_t i = 0; i < bySize.size() && i < rows_; ++i) {
    const ResultNode& node = *bySize[i];
    const ResultNode* identity = node.child(ScanVOXTags::UG_USER_GROUP);
    const int64_t space = node.number(ScanVOXTags::SUG_TOTAL_SIZE);
    std::string name = identity != nullptr ? safeText(identity->text(ScanVOXTags::UG_NAME)) : "?";
    if (identity != nullptr && identity->flag(ScanVOXTags::UG_REMOVED)) name += " (gone)";
    out_ << "  " << padRight(fit(name, LABEL), LABEL) << padLeft(humanBlocks(space), SIZE)
         << padLeft(grouped(node.number(ScanVOXTags::SUG_FILE_CNT)), COUNT) << " files  "
         << bar(space, largest, BAR) << '\n';
  }
  more(bySize.size());
}

void TextReport::histogram(const char* const* labels, const std::vector<int64_t>& bySize,
                           const std::vector<int64_t>& counts) {
  const int64_t largest = bySize.empty() ? 0 : *std::max_element(bySize.begin(), bySize.end());
  for (size_t i = 0; i < bySize.size() && i < counts.size(); ++i) {
    out_ << "  " << padRight(labels[i], LABEL) << padLeft(humanBlocks(bySize[i]), SIZE)
         << padLeft(grouped(counts[i]), COUNT) << "        " << bar(bySize[i], largest, BAR) << '\n';
  }
}

void TextReport::sizes(const ResultNode& node) {
  section("By size");
  std::vector<int64_t> bySize = node.numbers(ScanVOXTags::SZD_SIZES);
  bySize.resize(std::size(SIZE_LABELS));
  histogram(SIZE_LABELS, bySize, node.numbers(ScanVOXTags::SZD_COUNTS));
}

void TextReport::ages(const ResultNode& node) {
  const int64_t type = node.number(ScanVOXTags::TD_TYPE);
  const char* what = type == STimeDist::ACCESSED   ? "last use"
                     : type == STimeDist::MODIFIED ? "last change"
                     : type == STimeDist::CREATED  ? "creation"
                                                   : "last change, of what wants a backup";
  std::vector<int64_t> bySize = node.numbers(ScanVOXTags::TD_SIZES);
  bySize.resize(std::size(AGE_LABELS));
  section(std::string("By time since ") + what + ", on average " +
          humanAge(node.number(ScanVOXTags::TD_AVG_AGE)) + ", " +
          grouped(sum(node.numbers(ScanVOXTags::TD_CNTS))) + " entries");
  histogram(AGE_LABELS, bySize, node.numbers(ScanVOXTags::TD_CNTS));
}

void TextReport::directories(const std::vector<const ResultNode*>& nodes) {
  if (nodes.empty()) return;
  section("Directories with the most space directly in them");
  for (size_t i = 0; i < nodes.size() && i < rows_; ++i) {
    const ResultNode& node = *nodes[i];
    out_ << padLeft(humanBlocks(node.number(ScanVOXTags::DIR_TOTAL_SIZE)), SIZE + 2)
         << padLeft(grouped(node.number(ScanVOXTags::DIR_FILE_CNT)), COUNT) << " files  "
         << shown(node, WIDTH - SIZE - COUNT - 10) << '\n';
  }
  more(nodes.size());
}

void TextReport::files(const FileList& list, const std::vector<const ResultNode*>& nodes) {
  if (nodes.empty()) return;
  section(list.title);
  for (size_t i = 0; i < nodes.size() && i < rows_; ++i) {
    const ResultNode& node = *nodes[i];
    std::string line = padLeft(humanBlocks(node.number(ScanVOXTags::FA_BLOCKS)), SIZE + 2) + "  ";
    if (list.age) {
      const int64_t age = (scanTime_ - node.number(ScanVOXTags::FA_ACCESSED)) / 1000;
      line += padLeft(humanAge(age), COUNT) + "  ";
    }
    if (list.owner) {
      const ResultNode* owner = node.child(ScanVOXTags::UG_USER);
      const std::string name = owner != nullptr ? safeText(owner->text(ScanVOXTags::UG_NAME)) : "?";
      line += padRight(fit(name, COUNT), COUNT) + "  ";
    }
    out_ << line << shown(node, WIDTH - displayWidth(line)) << '\n';
  }
  more(nodes.size());
}

void TextReport::fileTypes(const std::vector<const ResultNode*>& nodes) {
  if (nodes.empty()) return;
  section("File types with the most space");
  const int64_t largest = nodes.front()->number(ScanVOXTags::FTP_SUMM_SPACE_USED);
  for (size_t i = 0; i < nodes.size() && i < rows_; ++i) {
    const ResultNode& node = *nodes[i];
    const ResultNode* type = node.child(ScanVOXTags::FTP);
    const int64_t space = node.number(ScanVOXTags::FTP_SUMM_SPACE_USED);
    out_ << "  "
         << padRight(type != nullptr ? fit(safeText(type->text(ScanVOXTags::FTP_FILE_EXT)), LABEL) : "?",
                     LABEL)
         << padLeft(humanBlocks(space), SIZE)
         << padLeft(grouped(node.number(ScanVOXTags::FTP_SUMM_FILE_CNT)), COUNT) << " files  "
         << bar(space, largest, BAR) << '\n';
  }
  more(nodes.size());
}

}  // namespace agent::tools
