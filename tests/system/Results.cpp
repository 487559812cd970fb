#include "system/Results.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <stdexcept>

namespace agent::test {

const Node& only(const Node& node, std::string_view tag) {
  const auto found = node.childrenOf(tag);
  if (found.size() == 1) return *found.front();
  throw std::runtime_error(std::to_string(found.size()) + " nodes " + std::string(tag) + " in " + node.tag);
}

ResultFile::ResultFile(const std::string& fileName) {
  tools::ResultFile read = tools::readResultFile(fileName);
  if (read.fault) throw std::runtime_error("result, " + read.fault->text());
  root_.children = std::move(read.nodes);
}

std::string ResultFile::text(const Node& node, std::string_view column) const {
  if (node.columns && node.columns->places.contains(column)) return node.text(column);
  throw std::runtime_error("no column " + std::string(column) + " in " + node.tag);
}

const Node& ResultFile::results(int statistic, int filesystem) const {
  for (const Node* definition : root_.childrenOf("CuStatDef")) {
    if (definition->number("sdID") != statistic) continue;
    for (const Node* results : definition->childrenOf("ResultsByFS")) {
      const Node* source = results->child("Filesystem");
      if (source != nullptr && source->number("fsID") == filesystem) return only(*results, "CuStatResults");
    }
  }
  throw std::runtime_error("no results of statistic " + std::to_string(statistic));
}

std::map<std::string, std::string> spaceFigures(const std::string& path) {
  struct statvfs system;
  if (statvfs(path.c_str(), &system) != 0) throw std::runtime_error("statvfs " + path);
  const auto units = [&](unsigned long blocks) { return std::to_string(blocks * system.f_frsize / 512); };
  return {{"fsCapacity", units(system.f_blocks)},
          {"fsPhysicalSize", units(system.f_blocks)},
          {"fsFreeSpace", units(system.f_bavail)},
          {"fsUsedSpace", units(system.f_blocks - system.f_bavail)},
          {"fsMaxFiles", std::to_string(system.f_files)},
          {"fsUsedInodes", std::to_string(system.f_files - system.f_ffree)},
          {"fsFreeInodes", std::to_string(system.f_favail)}};
}

std::string filled(std::string text, const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values) {
    const std::string place = "{" + name + "}";
    for (size_t at = 0; (at = text.find(place, at)) != std::string::npos; at += value.size()) {
      text.replace(at, place.size(), value);
    }
  }
  return text;
}

}  // namespace agent::test
