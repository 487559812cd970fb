#include "merge/SliceMarks.h"

#include <array>

#include "QLMlib/common/ut/NumberText.h"

namespace agent::tools {

namespace {

constexpr std::string_view SLICE = "slice ";
constexpr std::string_view OF = " of ";

constexpr std::array<const char*, 3> KINDS = {"types", "itself", "parents"};  // as SliceStatistic has them

}  // namespace

std::string markName(const SliceMark& mark) {
  return std::string(SLICE) + std::to_string(mark.number) + std::string(OF) + std::to_string(mark.last);
}

std::optional<SliceMark> markOf(std::string_view name) {
  if (!name.starts_with(SLICE)) return std::nullopt;
  name.remove_prefix(SLICE.size());
  const size_t of = name.find(OF);
  if (of == std::string_view::npos) return std::nullopt;
  const auto number = wholeNumber<int64_t>(name.substr(0, of));
  const auto last = wholeNumber<int64_t>(name.substr(of + OF.size()));
  if (!number || !last || *number < 0 || *number > *last) return std::nullopt;
  return SliceMark{*number, *last};
}

std::string sliceStatisticName(SliceStatistic kind, std::string_view statisticId) {
  return KINDS[static_cast<size_t>(kind)] + std::string(OF) + std::string(statisticId);
}

}  // namespace agent::tools
