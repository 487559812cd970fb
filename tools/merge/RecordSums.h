#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "figures/ResultFile.h"

// Records of result files as sums: their cells, changed in place, by what their columns mean. Nodes have all
// columns of this version, and one row; sums wrap where a counter of the job's would.

namespace agent::tools {

/// The first row's cell of a column, to be changed.
std::string& cellOf(ResultNode& node, std::string_view column);

void setNumber(ResultNode& node, std::string_view column, int64_t number);

/// Adds to a number of 64 bits.
void add(ResultNode& node, std::string_view column, int64_t amount);

/// Adds to one class of a histogram.
/// @param place from 0; one that isn't there is passed over
void addToClass(ResultNode& node, std::string_view column, size_t place, int64_t amount);

/// Adds another record of the same subject to one: counters add up, of times the earliest stays, and so does
/// everything else of the first.
void join(ResultNode& into, const ResultNode& other);

/// The same for totals of an owner or a group, whose two largest files stay.
void joinOwners(ResultNode& into, const ResultNode& other);

/// The average age of all entries that records of ages count, in seconds. Within one of the true one: each
/// record has its own rounded down.
int64_t averageAge(const std::vector<const ResultNode*>& records);

}  // namespace agent::tools
