#pragma once

#include <gtest/gtest.h>

#include "Scan/selection/Selection.h"
#include "selection/FakeEntry.h"

namespace agent {

/// Compiles or fails the test.
inline SelectTree compiled(const std::string& expression, int32_t baseLevel = 0) {
  Selection selection;
  selection.setExpression(expression);
  EXPECT_TRUE(selection.compile("test", baseLevel)) << ::testing::PrintToString(expression);
  return selection.takeRoot();
}

/// The error records of an expression that must not compile.
inline std::string errorsOf(const std::string& expression) {
  Selection selection;
  selection.setExpression(expression);
  EXPECT_FALSE(selection.compile("test", 0)) << ::testing::PrintToString(expression);
  EXPECT_EQ(selection.takeRoot(), nullptr);
  return selection.errors();
}

}  // namespace agent
