#include "definition/DefinitionWords.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "definition/ScandefLanguage.h"

namespace agent::scandef {

namespace {

std::string safe(const std::string& text) {
  return safeText(text, Backslash::KEPT);
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (size_t i = 0; i < parts.size(); ++i)
    text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
  return text;
}

std::string kindOf(int16_t type) {
  const auto known = std::find_if(FILESYSTEM_TYPES.begin(), FILESYSTEM_TYPES.end(),
                                  [type](const FilesystemType& candidate) { return candidate.type == type; });
  return known != FILESYSTEM_TYPES.end() ? known->name : "of a kind that results call UNKNOWN";
}

/// "largest-files" as "the 20 largest files".
std::string listOf(std::string_view option, const std::string& count) {
  std::string text = "the " + count + " ";
  for (const char c : option) text += c == '-' ? ' ' : c;
  return text + (option == "least-accessed" || option == "oldest-not-backed-up" ? " files" : "");
}

/// What a statistic collects, each a few words.
std::vector<std::string> contentsOf(const Statistic& statistic) {
  std::vector<std::string> contents;
  for (const StatisticOption& option : STATISTIC_OPTIONS) {
    const std::string& cell = statistic[option.tag];
    if (statisticColumnKind(option.tag) == CellKind::FLAG && cell == ScanVOXTags::VOX_TRUE) {
      contents.emplace_back(option.help);
    } else if (option.isList() && cell != "0" && !cell.empty()) {
      contents.push_back(listOf(option.name, cell));
    }
  }
  return contents;
}

std::string whereOf(const Statistic& statistic, const Definition& definition) {
  if (statistic.ofDirectories) return "in each monitored directory";
  if (statistic.onlyFilesystems.empty()) return "on each file system";
  std::vector<std::string> paths;
  for (const int32_t id : statistic.onlyFilesystems) {
    for (const MountPoint& filesystem : definition.filesystems) {
      if (filesystem.id == id) paths.push_back(safe(filesystem.path));
    }
  }
  return "on " + joined(paths);
}

std::string statisticInWords(const Statistic& statistic, const Definition& definition) {
  const std::string& name = statistic[ScanVOXTags::SD_NAME];
  std::string text = "\"" + safe(name) + "\" counts " + whereOf(statistic, definition) + ":\n";
  const std::vector<std::string> contents = contentsOf(statistic);
  for (const std::string& content : contents) text += "  - " + content + "\n";
  if (contents.empty()) text += "  - nothing: ask for --summary, --by-owner, --largest-files N or another\n";
  const std::string& selection = statistic[ScanVOXTags::SD_WHERE_CLAUSE];
  if (selection.empty() || selection == ScanVOXTags::VOX_NULL) return text;
  return text + "  of entries with " + explainWhere(expressionOf(selection)) + "\n";
}

}  // namespace

std::string inWords(const Definition& definition) {
  std::string text =
      "The job \"" + safe(definition.jobName) + "\" reads, entry by entry, and changes nothing of:\n";
  for (const MountPoint& filesystem : definition.filesystems)
    text +=
        "  " + safe(filesystem.path) + " (" + kindOf(filesystem.type) +
        (filesystem.filer.empty() ? ""
                                  : " of " + safe(filesystem.filer) + ", here " + safe(filesystem.local)) +
        ")\n";
  if (!definition.directories.empty()) {
    text += "It monitors the directories:\n";
    for (const MonitoredDirectory& directory : definition.directories)
      text += "  " + safe(directory.path) + "\n";
  }
  text += "\"File systems\" counts on each file system:\n  - its space, and totals of what lies on it\n";
  for (const Statistic& statistic : definition.statistics) text += statisticInWords(statistic, definition);
  return text;
}

}  // namespace agent::scandef
