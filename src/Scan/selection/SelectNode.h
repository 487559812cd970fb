#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Scan/selection/PatternMatcher.h"
#include "Scan/selection/SelectTree.h"

namespace agent {

// Comparison flags of a node. The low 16 bits hold a ComparedField.
inline constexpr uint32_t COMPARE_FIELD_MASK = 0xFFFF;
inline constexpr uint32_t COMPARE_OR_EQUAL = 0x10000;  ///< less-than-or-equal instead of less-than
inline constexpr uint32_t COMPARE_NEGATED = 0x20000;   ///< the opposite of the test's result
inline constexpr uint32_t COMPARE_FROM_NOW = 0x40000;  ///< the start of the scan is added to a time stamp

enum ComparedField : uint32_t {
  COMPARE_ATIME = 1,
  COMPARE_MTIME = 2,
  COMPARE_SIZE = 3,    ///< low 32 bits of st_size
  COMPARE_BLOCKS = 4,  ///< low 32 bits of st_blocks
  COMPARE_USER = 5,
  COMPARE_GROUP = 6,
};

/// What the tests of one selection that no evaluator exists for have in common.
struct GroupPatternTests {
  std::string selectionName;
  bool traced = false;
};

/// One operator or test of a compiled selection. Made by the compiler, read-only during a walk.
struct selectNode {
  /// @return the truth as a number: other than 0 for yes
  using Evaluator = int32_t (*)(const selectNode*, const fileInfo*);

  Evaluator evaluator = nullptr;                  ///< set on every compiled node
  uint32_t operand = 0;                           ///< comparison value, mask or type
  uint32_t flags = 0;                             ///< comparison flags
  int32_t componentsAbove = 0;                    ///< of a right-anchored path: its components less one
  int32_t baseLevel = 0;                          ///< level of the walk at which a relative path starts
  std::vector<SelectTree> children;               ///< of an operator, in written order
  std::unique_ptr<const PatternMatcher> pattern;  ///< of a path or name pattern
  std::string text;                               ///< to compare a name with
  std::shared_ptr<GroupPatternTests> groupTests;  ///< of a group's name pattern
};

}  // namespace agent
