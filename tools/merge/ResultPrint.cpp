#include "merge/ResultPrint.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Common/ScanVOXTags.h"
#include "Scan/AgentScan.h"
#include "Scan/RecordClasses.h"

namespace agent::tools {

namespace {

/// The names of each class's columns, by its tag.
const std::unordered_map<std::string, Row>& printedColumns() {
  static const std::unordered_map<std::string, Row> COLUMNS = [] {
    std::unordered_map<std::string, Row> columns;
    for (const RecordClass& known : recordClasses()) {
      Row& names = columns[known.record.tag];
      for (const RecordDescription::Column& column : known.record.columns) {
        if (column.isPrinted) names.emplace_back(column.tag);
      }
    }
    columns[ScanVOXTags::UG_USER] = columns[ScanVOXTags::UG_GROUP] = columns[ScanVOXTags::UG_USER_GROUP];
    return columns;
  }();
  return COLUMNS;
}

/// @param seen classes that have been looked at, with what nodes they are of
bool isOfThisVersion(const ResultNode& node, std::unordered_set<const ResultClass*>& seen) {
  if (seen.insert(node.columns.get()).second) {
    const auto known = printedColumns().find(node.tag);
    if (known == printedColumns().end() || known->second != node.columns->names) return false;
  }
  return std::all_of(node.children.begin(), node.children.end(),
                     [&seen](const ResultNode& child) { return isOfThisVersion(child, seen); });
}

void printNode(GenericPrint& print, const ResultNode& node) {
  print.beginNode(node.tag);
  for (const Row& row : node.rows) print.printData(row);
  for (const ResultNode& child : node.children) printNode(print, child);
  print.endNode(node.tag);
}

}  // namespace

bool isOfThisVersion(const std::vector<ResultNode>& nodes) {
  std::unordered_set<const ResultClass*> seen;
  return std::all_of(nodes.begin(), nodes.end(),
                     [&seen](const ResultNode& node) { return isOfThisVersion(node, seen); });
}

void printResult(GenericPrint& print, const std::vector<ResultNode>& nodes) {
  AgentScan().printHeader(print);
  print.beginNode(ScanVOXTags::AS);
  for (const ResultNode& node : nodes) printNode(print, node);
  print.endNode(ScanVOXTags::AS);
}

}  // namespace agent::tools
