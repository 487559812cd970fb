#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// A definition that has been cut into slices asks, in each of them, for a few statistics more than the whole
// did: they tell which slice it is, and what the lists of a single slice can't. Their names are written by
// whoever cuts and read by whoever joins the results; nobody else has to know them.

namespace agent::tools {

/// Whom the additional statistics belong to, as `sdCreator` has it.
inline constexpr std::string_view SLICE_CREATOR = "scandef slices";

/// What an additional statistic is for.
enum class SliceStatistic {
  TYPES,    ///< all file types of another one, of which that one lists N
  ITSELF,   ///< totals of the slice's own directory alone, where another one counts it
  PARENTS,  ///< the directories that hold those of other slices, as another one lists them
};

/// Which of the slices of one cut a definition is.
struct SliceMark {
  int64_t number = 0;  ///< 0: what is left when all others are taken out
  int64_t last = 0;    ///< the highest number

  friend bool operator==(const SliceMark&, const SliceMark&) = default;
};

/// "slice 3 of 12"
std::string markName(const SliceMark& mark);
/// @return none for another name
std::optional<SliceMark> markOf(std::string_view name);

/// "types of 5"
std::string sliceStatisticName(SliceStatistic kind, std::string_view statisticId);

}  // namespace agent::tools
