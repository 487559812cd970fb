#include "system/ResultFile.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <stdexcept>

#include "system/InstallTree.h"

namespace agent::test {

namespace {

bool isTag(const std::string& line) {
  return line.size() > 2 && line.front() == '[' && line.back() == ']';
}

[[noreturn]] void broken(size_t line, const std::string& why) {
  throw std::runtime_error("result, line " + std::to_string(line + 1) + ": " + why);
}

/// The cells of a row: each is quoted, whatever it holds.
std::vector<std::string> cellsOf(const std::string& row, size_t line) {
  std::vector<std::string> cells;
  for (size_t i = 0; i < row.size();) {
    if (row[i] != '"') broken(line, "a cell without quotes: " + row);
    std::string cell;
    for (++i;; ++i) {
      if (i >= row.size()) broken(line, "a quote is never closed: " + row);
      if (row[i] == '"' && (++i >= row.size() || row[i] != '"')) break;
      cell += row[i];
    }
    cells.push_back(cell);
    if (i < row.size() && row[i++] != ',') broken(line, "something behind a closing quote: " + row);
  }
  return cells;
}

/// The columns of an owner inside a file's record, or of an SMonDir's specs, are those of the class itself.
std::string classOf(const std::string& tag) {
  return tag == "UserOrGroupUser" || tag == "UserOrGroupGroup" ? "UserOrGroup" : tag;
}

}  // namespace

std::vector<const Node*> Node::all(std::string_view wanted) const {
  std::vector<const Node*> found;
  for (const Node& child : children) {
    if (child.tag == wanted) found.push_back(&child);
  }
  return found;
}

const Node& Node::only(std::string_view wanted) const {
  const auto found = all(wanted);
  if (found.size() != 1) {
    throw std::runtime_error(std::to_string(found.size()) + " nodes " + std::string(wanted) + " in " + tag);
  }
  return *found.front();
}

ResultFile::ResultFile(const std::string& text) {
  if (!text.ends_with('\n')) throw std::runtime_error("the result doesn't end with a line feed");
  const std::vector<std::string> lines = linesOf(text);
  size_t i = 0;
  if (lines[i++] != "[Header]") broken(0, "no header block");
  for (std::string current; i < lines.size() && lines[i] != "[/Header]"; ++i) {
    if (isTag(lines[i])) {
      current = lines[i].substr(1, lines[i].size() - 2);
      continue;
    }
    std::vector<std::string>& names = columns_[current];
    for (size_t start = 0; start <= lines[i].size();) {
      const size_t comma = std::min(lines[i].find(',', start), lines[i].size());
      names.push_back(lines[i].substr(start, comma - start));
      start = comma + 1;
    }
  }
  std::vector<Node*> open;
  for (++i; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (!open.empty() && line == "[/" + open.back()->tag + "]") {
      open.pop_back();
    } else if (isTag(line) && line[1] != '/') {
      if (open.empty() && !root_.tag.empty()) broken(i, "a second node at the top");
      Node* node = open.empty() ? &root_ : &open.back()->children.emplace_back();
      node->tag = line.substr(1, line.size() - 2);
      open.push_back(node);
    } else {
      if (open.empty()) broken(i, "a row outside of nodes: " + line);
      const std::vector<std::string> row = cellsOf(line, i);
      if (row.size() != columns(classOf(open.back()->tag)).size())
        broken(i, "not as many cells as columns: " + line);
      open.back()->rows.push_back(row);
    }
  }
  if (!open.empty()) throw std::runtime_error("the node " + open.back()->tag + " is never closed");
  if (root_.tag != "AgentScan") throw std::runtime_error("no AgentScan node");
}

const std::vector<std::string>& ResultFile::columns(const std::string& tag) const {
  static const std::vector<std::string> NONE;
  const auto found = columns_.find(tag);
  return found == columns_.end() ? NONE : found->second;
}

const std::string& ResultFile::text(const Node& node, const std::string& column) const {
  const std::vector<std::string>& names = columns(classOf(node.tag));
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == column && !node.rows.empty()) return node.rows.front().at(i);
  }
  throw std::runtime_error("no column " + column + " in " + node.tag);
}

long long ResultFile::number(const Node& node, const std::string& column) const {
  return std::stoll(text(node, column));
}

const Node& ResultFile::results(int statistic, int filesystem) const {
  for (const Node* definition : root_.all("CuStatDef")) {
    if (number(*definition, "sdID") != statistic) continue;
    for (const Node* results : definition->all("ResultsByFS")) {
      const auto source = results->all("Filesystem");
      if (!source.empty() && number(*source.front(), "fsID") == filesystem)
        return results->only("CuStatResults");
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

std::string firstDifference(const std::string& expected, const std::string& actual) {
  const auto wanted = linesOf(expected), got = linesOf(actual);
  for (size_t i = 0; i < std::max(wanted.size(), got.size()); ++i) {
    const std::string left = i < wanted.size() ? wanted[i] : "(the end)",
                      right = i < got.size() ? got[i] : "(the end)";
    if (left != right)
      return "line " + std::to_string(i + 1) + "\nexpected: " + left + "\n  actual: " + right;
  }
  return expected == actual ? "" : "they differ in line feeds at the end";
}

}  // namespace agent::test
