#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

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

/// Compiles the compact prefix expressions of the definition file. One object is reused for many expressions.
class Selection {
 public:
  virtual ~Selection() = default;

  /// Takes a new expression and forgets the errors of the last one. Counted bytes, NULs among them.
  void setExpression(std::string expression);

  /// Compiles the expression.
  /// @param name display name, for diagnostics only
  /// @param baseLevel level of the walk at which relative path patterns start
  /// @return true on success; then takeRoot() gives the tree
  bool compile(std::string_view name, int32_t baseLevel);

  /// The compiled tree; null before a successful compile.
  SelectTree takeRoot();

  /// The binary error records of the last compile, innermost cause first (see Selection.cpp for the layout).
  const std::string& errors() const { return errors_; }

 private:
  SelectTree root_;
  std::string expression_;
  std::string errors_;
};

}  // namespace agent
