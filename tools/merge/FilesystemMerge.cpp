#include "merge/FilesystemMerge.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "merge/RecordSums.h"
#include "merge/SliceMarks.h"

namespace agent::tools {

namespace {

using Tags = ScanVOXTags;
using Nodes = std::vector<ResultNode>;

}  // namespace

void FilesystemMerge::appendTo(Nodes& nodes) {
  nodes.push_back(joinedFilesystem());
  append(nodes, monitored());
  for (const ResultNode* definition : definitions()) nodes.push_back(statistic(*definition));
}

ResultNode FilesystemMerge::joinedFilesystem() const {
  for (const Section* section : sections_) {
    if (section->filesystem.flag(Filesystem::FILESYSTEM_SCANNED)) continue;
    if (sections_.size() == 1) break;  // of a file system that isn't cut its own result says so
    throw ResultFileError(inQuotes(*section->file) + ": " + inQuotes(section->directory()) +
                          " was not scanned");
  }
  ResultNode filesystem = sections_.front()->filesystem;
  for (size_t i = 1; i < sections_.size(); ++i) join(filesystem, sections_[i]->filesystem);
  return filesystem;
}

Nodes FilesystemMerge::monitored() {
  Nodes nodes;
  for (Section* section : sections_) {
    for (ResultNode& directory : section->monitored) {
      stripSlash(directory, sections_.front()->mountPoint);
      nodes.push_back(directory);
    }
  }
  return nodes;
}

/// The statistics of all sections, each once, but for those that are there for the slices' sake.
std::vector<const ResultNode*> FilesystemMerge::definitions() const {
  std::vector<const ResultNode*> found;
  for (const Section* section : sections_) {
    for (const ResultNode& statistic : section->statistics) {
      if (statistic.text(Tags::SD_CREATOR) == SLICE_CREATOR) continue;
      const std::string id = statistic.text(Tags::SD_ID);
      const auto known = std::find_if(found.begin(), found.end(), [&id](const ResultNode* candidate) {
        return candidate->text(Tags::SD_ID) == id;
      });
      if (known == found.end()) {
        found.push_back(&statistic);
      } else if ((*known)->rows != statistic.rows) {
        throw ResultFileError(inQuotes(*section->file) + ": statistic " + id +
                              " isn't defined as in the other results");
      }
    }
  }
  return found;
}

/// Of all entries in what was found in a monitored directory: it may be that of a slice.
void FilesystemMerge::stripSlashes(ResultNode& node) const {
  if (node.tag == Tags::SM || node.tag == Tags::DIR) stripSlash(node, sections_.front()->mountPoint);
  for (ResultNode& child : node.children) stripSlashes(child);
}

ResultNode FilesystemMerge::statistic(const ResultNode& definition) {
  ResultNode merged{definition.tag, definition.columns, definition.rows, {}};
  std::vector<const ResultNode*> parts;
  std::optional<ResultNode> whole;  // the file system that the statistic is about
  for (Section* section : sections_) {
    for (ResultNode& statistic : section->statistics) {
      if (statistic.text(Tags::SD_ID) != definition.text(Tags::SD_ID)) continue;
      for (ResultNode& source : statistic.children) {
        const ResultNode* const filesystem = source.child(Filesystem::FILESYSTEM);
        if (filesystem != nullptr && source.child(Tags::SR) != nullptr) {
          parts.push_back(source.child(Tags::SR));
          if (!whole) {
            whole = ResultNode{source.tag, source.columns, source.rows, {*filesystem}};
          } else {
            join(whole->children.front(), *filesystem);
          }
          continue;
        }
        stripSlashes(source);
        merged.children.push_back(source);
      }
    }
  }
  if (parts.empty()) return merged;
  if (parts.size() != sections_.size()) {
    throw ResultFileError("statistic " + definition.text(Tags::SD_ID) + " of " +
                          inQuotes(sections_.front()->directory()) +
                          " isn't in all results, or twice in one");
  }
  Nodes& found = whole->children;
  found.insert(found.begin(), StatisticMerge(sections_, definition, notes_).merged(parts));
  merged.children.push_back(std::move(*whole));
  return merged;
}

}  // namespace agent::tools
