#include "Scan/selection/Evaluators.h"

#include <algorithm>
#include <cstring>

#include "QLMlib/common/ut/Trace.h"
#include "Scan/selection/SelectNode.h"
#include "Scan/selection/fileInfo.h"

namespace agent {

namespace {

bool has(const selectNode* node, uint32_t flag) {
  return (node->flags & flag) != 0;
}

template <typename Value>
int32_t compared(const selectNode* node, Value field, Value bound) {
  const bool below = has(node, COMPARE_OR_EQUAL) ? field <= bound : field < bound;
  return below != has(node, COMPARE_NEGATED) ? 1 : 0;
}

// The entry's path below the directory that is being read at `level`. The root's path ends in a slash of its
// own; behind all others the slash has to be passed over. An entry that is a directory on the walk's stack
// itself has nothing below.
const char* pathBelow(const fileInfo* file, int32_t level) {
  const size_t begin = file->scanner->pathLengthAt(level) + (level > 0 ? 1 : 0);
  return file->path + std::min(begin, file->pathLength);
}

}  // namespace

int32_t ExslctTrue(const selectNode*, const fileInfo*) {
  return 1;
}

int32_t ExslctFalse(const selectNode*, const fileInfo*) {
  return 0;
}

int32_t ExslctAnd(const selectNode* node, const fileInfo* file) {
  for (const SelectTree& child : node->children) {
    if (child->evaluator(child.get(), file) == 0) return 0;
  }
  return 1;
}

int32_t ExslctOr(const selectNode* node, const fileInfo* file) {
  for (const SelectTree& child : node->children) {
    if (child->evaluator(child.get(), file) != 0) return 1;
  }
  return 0;
}

int32_t ExslctNot(const selectNode* node, const fileInfo* file) {
  const selectNode* const child = node->children.front().get();
  return child->evaluator(child, file) == 0 ? 1 : 0;
}

int32_t ExslctAndPerms(const selectNode* node, const fileInfo* file) {
  return static_cast<int32_t>(file->stat.st_mode & node->operand);
}

int32_t ExslctEqPerms(const selectNode* node, const fileInfo* file) {
  return (file->stat.st_mode & node->operand) == node->operand ? 1 : 0;
}

int32_t ExslctTypeCmp(const selectNode* node, const fileInfo* file) {
  return file->type == static_cast<int32_t>(node->operand) ? 1 : 0;
}

int32_t ExslctSizeCmp(const selectNode* node, const fileInfo* file) {
  const bool blocks = (node->flags & COMPARE_FIELD_MASK) == COMPARE_BLOCKS;
  const auto field = static_cast<int32_t>(blocks ? file->stat.st_blocks : file->stat.st_size);
  return compared(node, field, static_cast<int32_t>(node->operand));
}

int32_t ExslctTScmp(const selectNode* node, const fileInfo* file) {
  const bool accessed = (node->flags & COMPARE_FIELD_MASK) == COMPARE_ATIME;
  const auto field = static_cast<int32_t>(accessed ? file->stat.st_atime : file->stat.st_mtime);
  uint32_t bound = node->operand;
  if (has(node, COMPARE_FROM_NOW)) bound += static_cast<uint32_t>(file->now);
  return compared(node, field, static_cast<int32_t>(bound));
}

int32_t ExslctStrcmp(const selectNode* node, const fileInfo* file) {
  const bool user = (node->flags & COMPARE_FIELD_MASK) == COMPARE_USER;
  return compared(node, std::strcmp(user ? file->user : file->group, node->text.c_str()), 0);
}

int32_t ExslctMatchUser(const selectNode* node, const fileInfo* file) {
  return node->pattern->matches(file->user) ? 1 : 0;
}

int32_t ExslctMatchGroup(const selectNode* node, const fileInfo* file) {
  return node->pattern->matches(file->group) ? 1 : 0;
}

int32_t ExslctGroupPattern(const selectNode* node, const fileInfo*) {
  if (!node->groupTests->traced) {
    node->groupTests->traced = true;
    TRACE(TR_MIN,
          "ExslctGroupPattern() : WARNING: '%s' tests a group's name by a pattern, which answers no.\n",
          node->groupTests->selectionName.c_str());
  }
  return 0;
}

int32_t ExslctLAnchoredPath(const selectNode* node, const fileInfo* file) {
  return node->pattern->matches(file->path) ? 1 : 0;
}

int32_t ExslctFSRootPath(const selectNode* node, const fileInfo* file) {
  if (file->scanner->currentLevel() < node->baseLevel) return 0;
  return node->pattern->matches(pathBelow(file, node->baseLevel)) ? 1 : 0;
}

int32_t ExslctRAnchoredPath(const selectNode* node, const fileInfo* file) {
  const int32_t level = file->scanner->currentLevel() - node->componentsAbove;
  if (level < node->baseLevel) return 0;
  return node->pattern->matches(pathBelow(file, level)) ? 1 : 0;
}

}  // namespace agent
