#include "slices/SliceChoice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace agent::scandef {

namespace {

constexpr size_t NONE = std::numeric_limits<size_t>::max();

/// The directories that weights tell of, with all above them.
class Tree {
 public:
  Tree(const std::vector<std::string>& roots, const Weights& weights);

  /// The piece with the most weight among those that may still be cut.
  std::optional<size_t> heaviest() const;
  /// The directory in a piece that comes nearest to a weight; NONE where there is none left.
  size_t nearest(size_t piece, double wanted) const;
  void choose(size_t node);
  void forbid(size_t node) { nodes_[node].isForbidden = true; }
  void leave(size_t piece) { nodes_[piece].isLeft = true; }

  const std::string& path(size_t node) const { return nodes_[node].path; }
  double weight(size_t node) const { return nodes_[node].weight; }
  double total() const { return total_; }
  double heaviestWeight() const;

 private:
  struct Node {
    std::string path;
    size_t parent;
    double weight = 0;  // of all below, less what pieces below have
    bool isPiece = false;
    bool isForbidden = false;
    bool isLeft = false;  // a piece that nothing can be taken out of
  };

  size_t nodeOf(const std::string& path);

  std::vector<Node> nodes_;  // each behind its parent
  std::map<std::string, size_t> places_;
  double total_ = 0;
};

Tree::Tree(const std::vector<std::string>& roots, const Weights& weights) {
  for (const std::string& root : roots) {
    places_.emplace(root, nodes_.size());
    nodes_.push_back({root, NONE});
    nodes_.back().isPiece = true;
  }
  for (const auto& [path, weight] : weights) {
    for (size_t node = nodeOf(path); node != NONE; node = nodes_[node].parent) nodes_[node].weight += weight;
  }
  for (const Node& node : nodes_) total_ += node.parent == NONE ? node.weight : 0;
}

/// @return NONE for what lies in none of the trees
size_t Tree::nodeOf(const std::string& path) {
  if (const auto known = places_.find(path); known != places_.end()) return known->second;
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos || path == "/") return NONE;
  const size_t parent = nodeOf(slash == 0 ? "/" : path.substr(0, slash));
  if (parent == NONE) return NONE;
  places_.emplace(path, nodes_.size());
  nodes_.push_back({path, parent});
  return nodes_.size() - 1;
}

std::optional<size_t> Tree::heaviest() const {
  std::optional<size_t> found;
  for (size_t node = 0; node < nodes_.size(); ++node) {
    if (!nodes_[node].isPiece || nodes_[node].isLeft) continue;
    if (!found || nodes_[node].weight > nodes_[*found].weight) found = node;
  }
  return found;
}

double Tree::heaviestWeight() const {
  double heaviest = 0;
  for (const Node& node : nodes_) heaviest = std::max(heaviest, node.isPiece ? node.weight : 0);
  return heaviest;
}

size_t Tree::nearest(size_t piece, double wanted) const {
  std::vector<bool> isInside(nodes_.size(), false);
  isInside[piece] = true;
  size_t found = NONE;
  for (size_t node = piece + 1; node < nodes_.size(); ++node) {
    const Node& candidate = nodes_[node];
    isInside[node] = candidate.parent != NONE && isInside[candidate.parent] && !candidate.isPiece;
    // One that has all of the piece would leave nothing of it.
    const bool isPart = candidate.weight > 0 && candidate.weight < nodes_[piece].weight;
    if (!isInside[node] || candidate.isForbidden || !isPart) continue;
    const auto distance = [&](size_t one) { return std::abs(nodes_[one].weight - wanted); };
    if (found == NONE || distance(node) < distance(found)) found = node;
  }
  return found;
}

void Tree::choose(size_t node) {
  nodes_[node].isPiece = true;
  const double taken = nodes_[node].weight;
  size_t above = node;
  do {
    above = nodes_[above].parent;
    nodes_[above].weight -= taken;
  } while (!nodes_[above].isPiece);
}

}  // namespace

SliceChoice chooseSlices(const std::vector<std::string>& roots, const Weights& weights,
                         const SliceNumber& number,
                         const std::function<bool(const std::string& directory)>& mayBeSlice) {
  constexpr double LARGEST_SHARE = 0.1;
  constexpr size_t USUAL_ARRAY = 1000;  // highest number of a task, see MaxArraySize in slurm.conf(5)
  Tree tree(roots, weights);
  const size_t most = number.untilTenth ? std::max(number.wanted, USUAL_ARRAY) : number.wanted;
  std::vector<size_t> chosen;
  while (chosen.size() < most) {
    const auto piece = tree.heaviest();
    if (!piece) break;
    if (chosen.size() >= number.wanted && tree.weight(*piece) <= LARGEST_SHARE * tree.total()) break;
    // What comes nearest to half of the heaviest piece lowers the heaviest most.
    const size_t directory = tree.nearest(*piece, tree.weight(*piece) / 2);
    if (directory == NONE) {
      tree.leave(*piece);
    } else if (mayBeSlice(tree.path(directory))) {
      tree.choose(directory);
      chosen.push_back(directory);
    } else {
      tree.forbid(directory);
    }
  }
  std::stable_sort(chosen.begin(), chosen.end(),
                   [&tree](size_t a, size_t b) { return tree.weight(a) > tree.weight(b); });
  SliceChoice choice;
  for (const size_t node : chosen) choice.directories.push_back(tree.path(node));
  choice.heaviest = tree.total() > 0 ? tree.heaviestWeight() / tree.total() : 0;
  return choice;
}

}  // namespace agent::scandef
