#include "system/StatisticsModel.h"

#include <dirent.h>
#include <grp.h>
#include <pwd.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <stdexcept>

#include "system/InstallTree.h"

namespace agent::test {

namespace {

constexpr unsigned ORPHAN = 0x20000;
constexpr std::array<long long, 7> SIZE_LIMITS{2, 20, 200, 2048, 20480, 204800, 1024000};
constexpr long long DAY = 86400;

using Entry = StatisticsModel::Entry;

bool isFile(const Entry& entry) {
  return entry.type == 1 || entry.type == 2;
}

size_t sizeBucket(long long blocks) {
  return static_cast<size_t>(std::lower_bound(SIZE_LIMITS.begin(), SIZE_LIMITS.end(), blocks) -
                             SIZE_LIMITS.begin());
}

size_t ageBucket(long long age) {
  if (age < -DAY) return 9;
  constexpr std::array<long long, 8> LIMITS{DAY,      7 * DAY,   30 * DAY,  60 * DAY,
                                            90 * DAY, 180 * DAY, 270 * DAY, 365 * DAY + DAY / 4};
  return static_cast<size_t>(std::lower_bound(LIMITS.begin(), LIMITS.end(), age) - LIMITS.begin());
}

/// A histogram: its cells of sizes and counts.
template <size_t N>
struct Histogram {
  std::array<long long, N> sizes{}, counts{};

  void add(size_t bucket, long long blocks) {
    sizes[bucket] += blocks;
    ++counts[bucket];
  }
  static std::string cell(const std::array<long long, N>& numbers) {
    std::string text;
    for (const long long number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
    return text;
  }
};

/// @param isGroup whether `id` is of a group
std::string ownerRow(unsigned number, bool isGroup) {
  const auto id = static_cast<int>(number);
  const passwd* user = isGroup ? nullptr : getpwuid(number);
  const group* group = isGroup ? getgrgid(number) : nullptr;
  const bool removed = user == nullptr && group == nullptr;
  const std::string name = removed ? std::to_string(id) : isGroup ? group->gr_name : user->pw_name;
  const std::string gecos = user == nullptr ? "" : user->pw_gecos;
  std::string bytes;
  for (const char byte : name)
    bytes += (bytes.empty() ? "" : ",") + std::to_string(static_cast<unsigned char>(byte));
  const int type = isGroup ? 2 : 1;
  return resultRow(isGroup ? 0 : id, isGroup ? id : 0, name, gecos.empty() ? "null" : gecos, -1,
                   removed ? "Y" : "N", -1, bytes, type, type);
}

/// What stays of items that arrive in this order with these keys, the greatest first. A newcomer must beat
/// the smallest key; of several with that key the first to have come goes.
template <typename Item>
std::vector<Item> greatest(long long length, const std::vector<std::pair<long long, Item>>& arrivals) {
  if (length <= 0) return {};
  std::map<std::pair<long long, size_t>, Item> kept;
  for (size_t i = 0; i < arrivals.size(); ++i) {
    const auto& [key, item] = arrivals[i];
    if (static_cast<long long>(kept.size()) == length) {
      if (key <= kept.begin()->first.first) continue;
      kept.erase(kept.begin());
    }
    kept.insert({{key, i}, item});
  }
  std::vector<Item> items;
  for (auto each = kept.rbegin(); each != kept.rend(); ++each) items.push_back(each->second);
  return items;
}

/// With its dot and in lower case; empty without one. At most six characters stand behind the dot.
std::string extension(const std::string& path) {
  const size_t dot = path.rfind('.');
  const size_t other = path.find_last_of("/\\ ");
  if (dot == std::string::npos || dot == 0 || dot + 1 == path.size() || path.size() - dot > 7) return "";
  if (other != std::string::npos && other > dot) return "";
  std::string text = path.substr(dot);
  for (char& byte : text) byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 'a' - 'A') : byte;
  return text;
}

std::string cellOf(const Record& record, const std::string& column, const std::string& otherwise) {
  for (const auto& [name, value] : record.cells) {
    if (name == column && !value.empty()) return value;
  }
  return otherwise;
}

bool has(const Record& statistic, const std::string& flag) {
  return cellOf(statistic, flag, "N") == "Y";
}

long long numberOf(const Record& record, const std::string& column) {
  return std::stoll(cellOf(record, column, "0"));
}

}  // namespace

std::string resultCell(const std::string& text) {
  std::string cell;
  for (const char byte : text) {
    if (byte == '"') cell += '"';
    cell += byte == '\n' || byte == '\r' ? ' ' : byte;
  }
  return cell.empty() ? "" : "\"" + cell + "\"";
}

std::string resultNode(const std::string& tag, const std::string& content) {
  return "[" + tag + "]\n" + content + "[/" + tag + "]\n";
}

std::map<std::string, std::string> spaceFigures(const std::string& path) {
  struct statvfs system;
  if (statvfs(path.c_str(), &system) != 0) throw std::runtime_error("statvfs " + path);
  const auto units = [&](unsigned long blocks) { return std::to_string(blocks * system.f_frsize / 512); };
  return {{"fsCapacity", units(system.f_blocks)},
          {"fsPhysicalSize", units(system.f_blocks)},
          {"fsFreeSpace", units(system.f_bavail)},
          {"fsUsedSpace", units(system.f_blocks - system.f_bavail)},
          {"fsMaxFiles", std::to_string(system.f_files)},
          {"fsUsedInodes", std::to_string(system.f_files - system.f_ffree)},
          {"fsFreeInodes", std::to_string(system.f_favail)}};
}

std::string filled(std::string text, const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values) {
    const std::string place = "{" + name + "}";
    for (size_t at = 0; (at = text.find(place, at)) != std::string::npos; at += value.size()) {
      text.replace(at, place.size(), value);
    }
  }
  return text;
}

std::string firstDifference(const std::string& expected, const std::string& actual) {
  const auto wanted = linesOf(expected), got = linesOf(actual);
  for (size_t i = 0; i < std::max(wanted.size(), got.size()); ++i) {
    const std::string left = i < wanted.size() ? wanted[i] : "(the end)",
                      right = i < got.size() ? got[i] : "(the end)";
    if (left != right)
      return "line " + std::to_string(i + 1) + "\nexpected: " + left + "\n  actual: " + right;
  }
  return expected == actual ? "" : "they differ in line feeds at the end";
}

std::string statisticRow(const Record& statistic) {
  const auto text = [&](const char* column) { return cellOf(statistic, column, "null"); };
  const auto number = [&](const char* column) { return numberOf(statistic, column); };
  const auto flag = [&](const char* column) { return has(statistic, column) ? "Y" : "N"; };
  return resultRow(
      number("sdID"), -1, text("sdCreator"), text("sdName"), text("sdDescription"), number("sdType"),
      number("sdShare"), number("sdLargestDirectories"), number("sdLargestFiles"), number("sdLeastAccessed"),
      number("sdOldestNotBackedUp"), number("sdLargestOrphans"), number("sdOldestOrphans"), flag("sdSummary"),
      flag("sdSizeDistribution"), flag("sdGroupByOwner"), flag("sdGroupByGroup"), flag("sdGroupByAccess"),
      flag("sdGroupByMod"), "N", "N", flag("sdWinOnlyFileType"), number("sdLargestFileTypes"),
      number("sdDailyRetention"), number("sdWeeklyRetention"), number("sdMonthlyRetention"), "N", "null");
}

// --- The tree ---

StatisticsModel::StatisticsModel(const std::string& root, int filesystem) : filesystem_(filesystem) {
  add(root + "/", 0);
  list(0);
}

void StatisticsModel::add(const std::string& path, size_t parent) {
  Entry entry{};
  entry.path = path;
  entry.parent = parent;
  if (lstat(path.c_str(), &entry.status) != 0) throw std::runtime_error("lstat " + path);
  const mode_t mode = entry.status.st_mode;
  entry.type = S_ISREG(mode)    ? 1
               : S_ISLNK(mode)  ? 2
               : S_ISDIR(mode)  ? 3
               : S_ISFIFO(mode) ? 4
               : S_ISSOCK(mode) ? 5
                                : 6;
  entry.blocks = entry.type > 3 ? 0 : entry.status.st_blocks;
  const auto mtime = static_cast<int>(entry.status.st_mtime);
  entry.modified = mtime * 1000LL;
  entry.accessed = std::max(mtime, static_cast<int>(entry.status.st_atime)) * 1000LL;
  entry.links = entry.type == 3 ? 1 : static_cast<long>(entry.status.st_nlink);
  entry.flags = (getpwuid(entry.status.st_uid) == nullptr ? ORPHAN : 0U) | (S_ISBLK(mode) ? 0x40000U : 0U) |
                (entry.type == 1 && (mode & 0111U) != 0 ? 0x80000U : 0U) | (mode & S_ISVTX ? 0x100000U : 0U) |
                (mode & S_ISGID ? 0x200000U : 0U) | (mode & S_ISUID ? 0x400000U : 0U);
  entries_.push_back(entry);
}

void StatisticsModel::list(size_t directory) {
  std::string path = entries_[directory].path;
  DIR* open = opendir(path.c_str());
  if (open == nullptr) throw std::runtime_error("opendir " + path);
  if (!path.ends_with('/')) path += '/';
  while (const dirent* each = readdir(open)) {
    const std::string name = each->d_name;
    if (name == "." || name == "..") continue;
    add(path + name, directory);
    const bool snapshot =
        directory == 0 && entries_.back().type == 3 && name.find(".snapshot") != std::string::npos;
    if (snapshot || entries_.back().status.st_dev != entries_.front().status.st_dev) {
      entries_.pop_back();
    } else if (entries_.back().type == 3) {
      list(entries_.size() - 1);
    }
  }
  closedir(open);
  entries_[directory].end = entries_.size();
  left_.push_back(directory);
}

size_t StatisticsModel::find(const std::string& path) const {
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].path == path) return i;
  }
  throw std::runtime_error("the tree has no " + path);
}

// --- Records ---

/// The first ten cells of a file's or a directory's record, without the end of the row.
std::string StatisticsModel::attributes(const Entry& entry) const {
  std::string row = resultRow(entry.type, entry.path, 0, entry.modified, entry.accessed, entry.blocks,
                              entry.status.st_size, static_cast<long long>(entry.flags), entry.links,
                              static_cast<long long>(entry.status.st_ino));
  row.back() = ',';
  return row;
}

std::string StatisticsModel::owners(const Entry& entry) const {
  return resultNode("UserOrGroupUser", ownerRow(entry.status.st_uid, false)) +
         resultNode("UserOrGroupGroup", ownerRow(entry.status.st_gid, true));
}

std::string StatisticsModel::monitored(size_t directory, const std::string& specs) const {
  const Entry& entry = entries_[directory];
  return resultNode("SMonDir", attributes(entry) + resultRow(filesystem_, 0, "Y", 0, 0) +
                                   resultNode("MonDirSpec", specs) + owners(entry));
}

/// The results of one statistic about one part of the tree, record class by record class.
class StatisticsModel::Gathering {
 public:
  /// @param directory what it is about
  /// @param itself whether its own entry counts
  Gathering(const StatisticsModel& model, const Record& statistic, long long now, size_t directory,
            bool itself)
      : model_(model),
        statistic_(statistic),
        now_(now),
        directory_(directory),
        id_(numberOf(statistic, "sdID")) {
    // An inode with several names is passed over when the first of them is met.
    std::set<unsigned long> seen;
    for (size_t i = directory + (itself ? 0 : 1); i < model.entries_[directory].end; ++i) {
      const Entry& entry = model.entries_[i];
      if (entry.links < 2 || !seen.insert(entry.status.st_ino).second) counted_.push_back(&entry);
    }
  }

  std::string text() const {
    const auto large = [](const Entry& e) {
      return std::pair{true, static_cast<long long>(static_cast<int>(e.blocks))};
    };
    const auto old = [](const Entry& e) { return std::pair{true, -e.accessed}; };
    const auto largeOrphan = [](const Entry& e) { return std::pair{(e.flags & ORPHAN) != 0, e.blocks}; };
    const auto oldOrphan = [](const Entry& e) { return std::pair{(e.flags & ORPHAN) != 0, -e.accessed}; };
    // Nothing here wants a backup: list 2 stays empty.
    return resultNode("CuStatResults",
                      resultRow(id_) + directories() + files("sdLargestFiles", 0, large) +
                          files("sdLeastAccessed", 1, old) + files("sdLargestOrphans", 3, largeOrphan) +
                          files("sdOldestOrphans", 4, oldOrphan) + fileTypes() + summary() + sizes() +
                          owners("sdGroupByOwner", false) + owners("sdGroupByGroup", true) +
                          ages("sdGroupByAccess", 0, &Entry::accessed) +
                          ages("sdGroupByMod", 3, &Entry::modified));
  }

 private:
  /// What lies directly in a directory; every name of an inode counts.
  std::string directories() const {
    std::vector<std::pair<long long, std::string>> arrivals;
    for (const size_t directory : model_.left_) {
      if (directory < directory_ || directory >= model_.entries_[directory_].end) continue;
      long long files = 0, directories = 0, total = 0, largest = 0, second = 0;
      Histogram<8> histogram;
      for (size_t i = directory + 1; i < model_.entries_[directory].end; ++i) {
        const Entry& entry = model_.entries_[i];
        if (entry.parent != directory) continue;
        files += isFile(entry);
        directories += entry.type == 3;
        total += entry.blocks;
        histogram.add(sizeBucket(entry.blocks), entry.blocks);
        // Whatever is bigger than the largest pushes it down, but only a regular file takes a place.
        if (entry.blocks > largest) {
          second = largest;
          if (entry.type == 1) largest = entry.blocks;
        } else if (entry.blocks > second && entry.type == 1) {
          second = entry.blocks;
        }
      }
      const Entry& entry = model_.entries_[directory];
      arrivals.emplace_back(
          total, resultNode("SDirectory",
                            model_.attributes(entry) +
                                resultRow(model_.filesystem_, id_, files, directories, total, largest, second,
                                          histogram.cell(histogram.sizes), histogram.cell(histogram.counts)) +
                                model_.owners(entry)));
    }
    return joined(greatest(numberOf(statistic_, "sdLargestDirectories"), arrivals));
  }

  template <typename Rank>
  std::string files(const char* list, int listType, const Rank& rank) const {
    std::vector<std::pair<long long, std::string>> arrivals;
    for (const Entry* entry : counted_) {
      const auto [wanted, key] = rank(*entry);
      if (!wanted || !isFile(*entry)) continue;
      arrivals.emplace_back(
          key, resultNode("SFile", model_.attributes(*entry) + resultRow(model_.filesystem_, id_, listType) +
                                       model_.owners(*entry)));
    }
    return joined(greatest(numberOf(statistic_, list), arrivals));
  }

  std::string fileTypes() const {
    std::map<std::string, std::pair<long long, long long>> types;  // by extension: files, blocks
    for (const Entry* entry : counted_) {
      const std::string type = entry->type == 1 ? extension(entry->path) : "";
      if (type.empty()) continue;
      ++types[type].first;
      types[type].second += entry->blocks;
    }
    std::vector<std::pair<long long, std::string>> arrivals;
    for (const auto& [type, sums] : types) {
      arrivals.emplace_back(
          sums.second,
          resultNode("FileTypeSummary", resultRow(id_, model_.filesystem_, sums.first, sums.second) +
                                            resultNode("FileType", resultRow(0, type, " "))));
    }
    return joined(greatest(numberOf(statistic_, "sdLargestFileTypes"), arrivals));
  }

  std::string summary() const {
    if (!has(statistic_, "sdSummary")) return "";
    long long files = 0, directories = 0, total = 0;
    for (const Entry* entry : counted_) {
      files += isFile(*entry);
      directories += entry->type == 3;
      total += entry->blocks;
    }
    return resultNode("SSummary", resultRow(model_.filesystem_, id_, "{fsCapacity}", "{fsFreeSpace}",
                                            "{fsUsedSpace}", total, files, now_, 0, 0, directories));
  }

  std::string sizes() const {
    if (!has(statistic_, "sdSizeDistribution")) return "";
    Histogram<8> histogram;
    for (const Entry* entry : counted_) histogram.add(sizeBucket(entry->blocks), entry->blocks);
    return resultNode("SSizeDist", resultRow(model_.filesystem_, id_, histogram.cell(histogram.sizes),
                                             histogram.cell(histogram.counts)));
  }

  std::string owners(const char* flag, bool groups) const {
    if (!has(statistic_, flag)) return "";
    struct Totals {
      long long files = 0, directories = 0, total = 0;
      std::vector<long long> sizes{0, 0};
      Histogram<8> histogram;
    };
    std::map<int, Totals, std::greater<>> all;
    for (const Entry* entry : counted_) {
      Totals& totals = all[static_cast<int>(groups ? entry->status.st_gid : entry->status.st_uid)];
      totals.directories += entry->type == 3;
      totals.total += entry->blocks;
      if (!isFile(*entry)) continue;
      ++totals.files;
      totals.histogram.add(sizeBucket(entry->blocks), entry->blocks);
      totals.sizes.push_back(entry->blocks);
    }
    std::string text;
    for (auto& [id, totals] : all) {
      std::partial_sort(totals.sizes.begin(), totals.sizes.begin() + 2, totals.sizes.end(), std::greater<>());
      text += resultNode("SUserOrGroup",
                         resultRow(model_.filesystem_, id_, totals.files, totals.total, now_, 0, 0,
                                   totals.directories, 0, 0, totals.sizes[0], totals.sizes[1], now_, 0, 0,
                                   totals.histogram.cell(totals.histogram.sizes),
                                   totals.histogram.cell(totals.histogram.counts)) +
                             resultNode("UserOrGroup", ownerRow(static_cast<unsigned>(id), groups)));
    }
    return text;
  }

  std::string ages(const char* flag, int type, long long Entry::*time) const {
    if (!has(statistic_, flag)) return "";
    Histogram<10> histogram;
    long long sum = 0, aged = 0;
    for (const Entry* entry : counted_) {
      const long long age = now_ / 1000 - entry->*time / 1000;
      histogram.add(ageBucket(age), entry->blocks);
      if (age < -DAY) continue;
      sum += age;
      ++aged;
    }
    return resultNode("STimeDist",
                      resultRow(model_.filesystem_, id_, type, now_, aged == 0 ? 0 : sum / aged, 0, 0,
                                histogram.cell(histogram.sizes), histogram.cell(histogram.counts)));
  }

  static std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) all += text;
    return all;
  }

  const StatisticsModel& model_;
  const Record& statistic_;
  long long now_;
  size_t directory_;
  long long id_;
  std::vector<const Entry*> counted_;
};

std::string StatisticsModel::results(const Record& statistic, long long now) const {
  return Gathering(*this, statistic, now, 0, true).text();
}

std::string StatisticsModel::results(const Record& statistic, long long now, size_t directory) const {
  return Gathering(*this, statistic, now, directory, false).text();
}

}  // namespace agent::test
