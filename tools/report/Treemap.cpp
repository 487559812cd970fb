#include "report/Treemap.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

namespace agent::tools {

namespace {

constexpr size_t NONE = TreemapCell::NO_FRAME;

/// How far the worst piece of a row is from a square.
/// @param sum of the row's areas
/// @param side along which the row lies
double worstRatio(double smallest, double largest, double sum, double side) {
  const double depth = sum / side;
  return std::max(largest / (depth * depth), depth * depth / smallest);
}

/// Puts a row of areas at the left or upper edge, and takes it away from what is free.
void placeRow(const std::vector<double>& areas, size_t begin, size_t end, Rectangle& free,
              std::vector<Rectangle>& placed) {
  const bool isColumn = free.width >= free.height;
  const double sum = std::accumulate(areas.begin() + static_cast<std::ptrdiff_t>(begin),
                                     areas.begin() + static_cast<std::ptrdiff_t>(end), 0.0);
  const double depth = sum / (isColumn ? free.height : free.width);
  double at = isColumn ? free.y : free.x;
  for (size_t i = begin; i < end; ++i) {
    const double length = areas[i] / depth;
    placed[i] = isColumn ? Rectangle{free.x, at, depth, length} : Rectangle{at, free.y, length, depth};
    at += length;
  }
  if (isColumn) {
    free.x += depth;
    free.width = std::max(0.0, free.width - depth);
  } else {
    free.y += depth;
    free.height = std::max(0.0, free.height - depth);
  }
}

/// With it behind them, a directory stands right in front of what lies in it, and is the beginning of its
/// path.
std::string withSlash(const std::string& path) {
  return path.ends_with('/') ? path : path + '/';
}

/// Directories as a tree, by places in the list.
class Tree {
 public:
  Tree(const std::vector<TreemapDirectory>& directories, SpaceOf spaceOf)
      : directories_(directories),
        spaceOf_(spaceOf),
        children_(directories.size()),
        whole_(directories.size(), 0) {
    std::vector<std::pair<std::string, size_t>> byPath;
    byPath.reserve(directories.size());
    for (size_t i = 0; i < directories.size(); ++i) byPath.emplace_back(withSlash(directories[i].path), i);
    std::sort(byPath.begin(), byPath.end());
    std::vector<const std::pair<std::string, size_t>*> open;
    for (const auto& entry : byPath) {
      while (!open.empty() && !entry.first.starts_with(open.back()->first)) open.pop_back();
      (open.empty() ? outermost_ : children_[open.back()->second]).push_back(entry.second);
      open.push_back(&entry);
    }
    // Backwards, what lies in a directory comes before it.
    for (auto entry = byPath.rbegin(); entry != byPath.rend(); ++entry) addUp(entry->second);
    largestFirst(outermost_);
  }

  const std::vector<size_t>& outermost() const { return outermost_; }
  const std::vector<size_t>& in(size_t directory) const { return children_[directory]; }
  double whole(size_t directory) const { return whole_[directory]; }
  /// What isn't in one of those that lie in it.
  double own(size_t directory) const { return std::max(0.0, whole_[directory] - inside(directory)); }

 private:
  double inside(size_t directory) const {
    double sum = 0;
    for (const size_t child : children_[directory]) sum += whole_[child];
    return sum;
  }

  void addUp(size_t directory) {
    const double space = std::max(0.0, directories_[directory].space);
    whole_[directory] =
        spaceOf_ == SpaceOf::DIRECTLY_IN ? space + inside(directory) : std::max(space, inside(directory));
    largestFirst(children_[directory]);
  }

  void largestFirst(std::vector<size_t>& some) const {
    std::stable_sort(some.begin(), some.end(), [this](size_t a, size_t b) { return whole_[a] > whole_[b]; });
  }

  const std::vector<TreemapDirectory>& directories_;
  SpaceOf spaceOf_;
  std::vector<std::vector<size_t>> children_;
  std::vector<double> whole_;
  std::vector<size_t> outermost_;
};

/// Some directories that share a rectangle.
struct Group {
  std::vector<size_t> directories;
  size_t frame = NONE;      // among the cells
  size_t directory = NONE;  // whose frame that is: it has a cell of its own in there
  Rectangle place;
};

Rectangle inside(const Rectangle& frame, const TreemapFrame& sizes) {
  return {frame.x + sizes.margin, frame.y + sizes.title, std::max(0.0, frame.width - 2 * sizes.margin),
          std::max(0.0, frame.height - sizes.title - sizes.margin)};
}

}  // namespace

std::vector<Rectangle> squarified(const std::vector<double>& weights, const Rectangle& whole) {
  std::vector<Rectangle> placed(weights.size());
  const size_t count = static_cast<size_t>(
      std::find_if(weights.begin(), weights.end(), [](double weight) { return !(weight > 0); }) -
      weights.begin());
  const double sum =
      std::accumulate(weights.begin(), weights.begin() + static_cast<std::ptrdiff_t>(count), 0.0);
  if (!(whole.area() > 0)) return placed;
  std::vector<double> areas(count);
  std::transform(weights.begin(), weights.begin() + static_cast<std::ptrdiff_t>(count), areas.begin(),
                 [&](double weight) { return weight / sum * whole.area(); });
  Rectangle free = whole;
  for (size_t begin = 0; begin < count && free.area() > 0;) {
    const double side = std::min(free.width, free.height);
    double rowSum = areas[begin];
    size_t end = begin + 1;
    while (end < count && worstRatio(areas[end], areas[begin], rowSum + areas[end], side) <=
                              worstRatio(areas[end - 1], areas[begin], rowSum, side)) {
      rowSum += areas[end++];
    }
    placeRow(areas, begin, end, free, placed);
    begin = end;
  }
  return placed;
}

std::vector<TreemapDirectory> withForks(std::vector<TreemapDirectory> directories) {
  std::set<std::string> paths, forks;
  for (const TreemapDirectory& one : directories) paths.insert(withSlash(one.path));
  const std::string* before = nullptr;
  for (const std::string& path : paths) {
    if (before != nullptr) {
      const auto parting = std::mismatch(path.begin(), path.end(), before->begin(), before->end()).first;
      const std::string common(path.begin(), parting);
      forks.insert(common.substr(0, common.rfind('/') + 1));  // npos + 1 is 0
    }
    before = &path;
  }
  for (const std::string& fork : forks) {
    if (fork.size() > 1 && !paths.contains(fork)) directories.push_back({fork.substr(0, fork.size() - 1), 0});
  }
  return directories;
}

std::vector<TreemapCell> layOut(const std::vector<TreemapDirectory>& directories, SpaceOf spaceOf,
                                const Rectangle& whole, const TreemapFrame& frame) {
  const Tree tree(directories, spaceOf);
  std::vector<TreemapCell> cells;
  std::vector<Group> waiting = {{tree.outermost(), NONE, NONE, whole}};
  size_t branches = 0;
  // A list, not a recursion: names may lie as deep in each other as they like.
  for (size_t next = 0; next < waiting.size(); ++next) {
    const Group group = waiting[next];
    std::vector<std::pair<double, size_t>> pieces;
    for (const size_t directory : group.directories) pieces.emplace_back(tree.whole(directory), directory);
    if (group.directory != NONE) pieces.emplace_back(tree.own(group.directory), group.directory);
    std::stable_sort(pieces.begin(), pieces.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<double> weights(pieces.size());
    std::transform(pieces.begin(), pieces.end(), weights.begin(),
                   [](const auto& piece) { return piece.first; });
    const std::vector<Rectangle> places = squarified(weights, group.place);
    for (size_t i = 0; i < pieces.size(); ++i) {
      const size_t directory = pieces[i].second;
      const bool isOwn = directory == group.directory;
      const Rectangle room = inside(places[i], frame);
      const bool isFrame =
          !isOwn && !tree.in(directory).empty() && room.width > frame.title && room.height > frame.title;
      const size_t branch = group.frame == NONE ? branches++ : cells[group.frame].branch;
      if (isFrame) waiting.push_back({tree.in(directory), cells.size(), directory, room});
      cells.push_back({directory, group.frame, branch, isFrame, weights[i], places[i]});
    }
  }
  return cells;
}

}  // namespace agent::tools
