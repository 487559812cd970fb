#include "Scan/selection/SelectNode.h"

namespace agent {

void SelectTreeDeleter::operator()(selectNode* root) const {
  std::vector<SelectTree> pending;
  while (root != nullptr) {
    for (SelectTree& child : root->children) pending.push_back(std::move(child));
    delete root;
    root = pending.empty() ? nullptr : pending.back().release();
    if (!pending.empty()) pending.pop_back();
  }
}

bool selects(const selectNode& root, const fileInfo& file) {
  return root.evaluator(&root, &file) != 0;
}

}  // namespace agent
