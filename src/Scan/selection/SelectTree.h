#pragma once

#include <memory>

#include "Scan/selection/fileInfo.h"

namespace agent {

struct selectNode;

/// Frees a whole tree, however deep, without recursion.
struct SelectTreeDeleter {
  void operator()(selectNode* root) const;
};
using SelectTree = std::unique_ptr<selectNode, SelectTreeDeleter>;

/// True when the tree selects the entry. Calls the root's evaluator; allocates nothing.
bool selects(const selectNode& root, const fileInfo& file);

}  // namespace agent
