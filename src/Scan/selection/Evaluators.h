#pragma once

#include <cstdint>

namespace agent {

struct fileInfo;
struct selectNode;

// The tests of a compiled selection. Each answers for one entry: other than 0 for yes. They run for every
// entry of a walk: no allocation, no parsing, one indirect call for each node.

int32_t ExslctTrue(const selectNode*, const fileInfo*);
int32_t ExslctFalse(const selectNode*, const fileInfo*);

// Operators. Children are asked in written order, until one decides; the answer is 0 or 1.
int32_t ExslctAnd(const selectNode* node, const fileInfo* file);
int32_t ExslctOr(const selectNode* node, const fileInfo* file);
int32_t ExslctNot(const selectNode* node, const fileInfo* file);

int32_t ExslctAndPerms(const selectNode* node, const fileInfo* file);  ///< the bits of the mask that are set
int32_t ExslctEqPerms(const selectNode* node, const fileInfo* file);   ///< all bits of the mask are set
int32_t ExslctTypeCmp(const selectNode* node, const fileInfo* file);

// Comparisons of signed 32-bit numbers: a size of 2 GiB is negative, `now` plus an offset wraps.
int32_t ExslctSizeCmp(const selectNode* node, const fileInfo* file);
int32_t ExslctTScmp(const selectNode* node, const fileInfo* file);

int32_t ExslctStrcmp(const selectNode* node, const fileInfo* file);      ///< by the bytes of the name
int32_t ExslctMatchUser(const selectNode* node, const fileInfo* file);   ///< the owner's name
int32_t ExslctMatchGroup(const selectNode* node, const fileInfo* file);  ///< no compiled selection holds it

/// Stands where a selection tests a group's name by a pattern, which the job doesn't offer: always no. Traced
/// once for each selection.
int32_t ExslctGroupPattern(const selectNode* node, const fileInfo* file);

int32_t ExslctLAnchoredPath(const selectNode* node, const fileInfo* file);  ///< the whole path
int32_t ExslctFSRootPath(const selectNode* node, const fileInfo* file);     ///< the path below the base level
int32_t ExslctRAnchoredPath(const selectNode* node, const fileInfo* file);  ///< the last components

}  // namespace agent
