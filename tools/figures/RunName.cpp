#include "figures/RunName.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace agent::tools {

namespace {

constexpr std::string_view EXTENSION = ".dat";
constexpr std::string_view COMPONENT = "_scan";

std::optional<int64_t> numberOf(std::string_view digits) {
  int64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, number);
  if (digits.empty() || digits.front() == '-' || error != std::errc() || stopped != end) return std::nullopt;
  return number;
}

/// Takes what stands behind the last dot off the end; nothing where there is no dot.
std::string_view takeLastPart(std::string_view& name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return {};
  const std::string_view part = name.substr(dot + 1);
  name = name.substr(0, dot);
  return part;
}

}  // namespace

RunName runNameOf(const std::string& path) {
  std::string_view name = path;
  name.remove_prefix(name.rfind('/') + 1);  // npos + 1 is 0
  if (name.ends_with(EXTENSION)) name.remove_suffix(EXTENSION.size());
  std::string_view job = name;
  const std::optional<int64_t> run = numberOf(takeLastPart(job));
  std::string_view scheduled = takeLastPart(job);
  if (!scheduled.ends_with(COMPONENT)) return {std::string(name)};
  scheduled.remove_suffix(COMPONENT.size());
  const std::optional<int64_t> schedule = numberOf(scheduled);
  if (!run || !schedule || job.empty()) return {std::string(name)};
  return {std::string(job), *schedule, *run};
}

}  // namespace agent::tools
