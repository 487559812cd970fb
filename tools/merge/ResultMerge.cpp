#include "merge/ResultMerge.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "merge/FilesystemMerge.h"
#include "merge/ResultPrint.h"
#include "merge/SliceMarks.h"
#include "merge/StatisticMerge.h"

namespace agent::tools {

namespace {

using Tags = ScanVOXTags;
using Nodes = std::vector<ResultNode>;

/// @param[out] front what stands in front of every file system
std::vector<Section> sectionsOf(SliceResult& slice, Nodes& front) {
  std::vector<Section> sections;
  for (ResultNode& node : slice.file.nodes) {
    if (node.tag == Filesystem::FILESYSTEM) {
      Section& section = sections.emplace_back();
      section.file = &slice.name;
      section.mountPoint = node.text(Filesystem::FILESYSTEM_MNTPT);
      if (!section.mountPoint.ends_with('/')) section.mountPoint += '/';
      section.filesystem = std::move(node);
    } else if (sections.empty()) {
      front.push_back(std::move(node));
    } else if (node.tag == Tags::SM) {
      sections.back().monitored.push_back(std::move(node));
    } else {
      sections.back().statistics.push_back(std::move(node));
    }
  }
  return sections;
}

struct MarkedSlice {
  SliceMark mark;
  std::string cut;  // which cut it is of
};

std::optional<MarkedSlice> markIn(const SliceResult& slice) {
  for (const ResultNode& node : slice.file.nodes) {
    if (node.tag != Tags::SD || node.text(Tags::SD_CREATOR) != SLICE_CREATOR) continue;
    if (const auto mark = markOf(node.text(Tags::SD_NAME)))
      return MarkedSlice{*mark, node.text(Tags::SD_DESC)};
  }
  return std::nullopt;
}

std::string joinedNumbers(const std::vector<int64_t>& numbers) {
  std::string text;
  for (const int64_t number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
  return text;
}

/// Where slices say which ones they are, they have to be all of one cut, each once.
void requireAllSlices(const std::vector<SliceResult>& slices) {
  std::map<int64_t, const SliceResult*> byNumber;
  std::optional<MarkedSlice> first;
  size_t marked = 0;
  for (const SliceResult& slice : slices) {
    const auto known = markIn(slice);
    if (!known) continue;
    ++marked;
    if (!first) first = known;
    if (known->cut != first->cut || known->mark.last != first->mark.last) {
      throw ResultFileError(inQuotes(slice.name) + " is of another cut than " + inQuotes(slices[0].name));
    }
    const auto [other, isNew] = byNumber.emplace(known->mark.number, &slice);
    if (!isNew) {
      throw ResultFileError(inQuotes(slice.name) + " and " + inQuotes(other->second->name) +
                            " are both of slice " + std::to_string(known->mark.number));
    }
  }
  if (!first) return;
  if (marked != slices.size()) throw ResultFileError("not all of these results are of slices of one cut");
  std::vector<int64_t> missing;
  for (int64_t number = 0; number <= first->mark.last && missing.size() <= slices.size(); ++number) {
    if (!byNumber.contains(number)) missing.push_back(number);
  }
  if (missing.empty()) return;
  throw ResultFileError("of slices 0 to " + std::to_string(first->mark.last) + " there is no result of " +
                        joinedNumbers(missing));
}

/// Puts that section in front which all others lie in, and finds out for those what they were taken out of.
void putWholeInFront(std::vector<Section*>& sections) {
  const auto whole = std::min_element(
      sections.begin(), sections.end(),
      [](const Section* a, const Section* b) { return a->mountPoint.size() < b->mountPoint.size(); });
  std::rotate(sections.begin(), whole, std::next(whole));
  std::unordered_map<std::string, Section*> byMountPoint;
  for (Section* section : sections) {
    const auto [other, isNew] = byMountPoint.emplace(section->mountPoint, section);
    if (isNew) continue;
    throw ResultFileError(inQuotes(*other->second->file) + " and " + inQuotes(*section->file) +
                          " are both of " + inQuotes(section->directory()));
  }
  for (size_t i = 1; i < sections.size(); ++i) {
    Section& slice = *sections[i];
    for (size_t end = slice.mountPoint.size() - 1; slice.holder == nullptr && end > 0;) {
      end = slice.mountPoint.rfind('/', end - 1);
      if (end == std::string::npos) break;
      const auto above = byMountPoint.find(slice.mountPoint.substr(0, end + 1));
      if (above != byMountPoint.end()) slice.holder = above->second;
    }
    if (slice.holder != nullptr) continue;
    throw ResultFileError("what is left of the file system beside its slices is missing: neither of " +
                          inQuotes(sections.front()->directory()) + " and " + inQuotes(slice.directory()) +
                          " lies in the other");
  }
}

}  // namespace

MergedResult mergeResults(std::vector<SliceResult> slices) {
  for (const SliceResult& slice : slices) {
    if (slice.file.fault)
      throw ResultFileError(inQuotes(slice.name) + " is not whole: " + slice.file.fault->text());
    if (!isOfThisVersion(slice.file.nodes))
      throw ResultFileError(inQuotes(slice.name) + " has other columns than this version writes");
  }
  requireAllSlices(slices);
  MergedResult merged;
  std::vector<std::vector<Section>> sections;
  for (SliceResult& slice : slices) {
    Nodes front;
    sections.push_back(sectionsOf(slice, front));
    if (sections.size() == 1) merged.nodes = std::move(front);
  }
  std::vector<int64_t> ids;  // of file systems, in the order of the results
  std::map<int64_t, std::vector<Section*>> byId;
  for (std::vector<Section>& ofResult : sections) {
    for (Section& section : ofResult) {
      section.place = static_cast<size_t>(&ofResult - sections.data());
      const int64_t id = section.filesystem.number(Filesystem::FILESYSTEM_ID);
      if (byId[id].empty()) ids.push_back(id);
      byId[id].push_back(&section);
    }
  }
  for (const int64_t id : ids) {
    putWholeInFront(byId[id]);
    FilesystemMerge(byId[id], merged.notes).appendTo(merged.nodes);
  }
  return merged;
}

}  // namespace agent::tools
