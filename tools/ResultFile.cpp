#include "ResultFile.h"

#include <optional>
#include <utility>

#include "Common/ParserAPI.h"
#include "Common/ScanVOXTags.h"
#include "Common/VOXParserException.h"

namespace agent::tools {

namespace {

// Result files nest six deep; what nests deeper is none.
constexpr int DEEPEST_NODE = 32;

/// The class whose columns a node has. Owners and groups inside other records share those of UserOrGroup, and
/// ResultsByFS has none.
std::string columnsClass(const std::string& tag) {
  if (tag == ScanVOXTags::UG_USER || tag == ScanVOXTags::UG_GROUP) return ScanVOXTags::UG_USER_GROUP;
  return tag;
}

ResultNode readNode(ParserAPI& parser, ParserAPI::Entity entity, int depth) {
  if (depth > DEEPEST_NODE) throw ResultFileError("its nodes are nested too deep for a result file");
  ResultNode node;
  node.tag = entity.name;
  node.rows = parser.getEntityData(entity);
  if (!node.rows.empty()) {
    ParserAPI::Entity named = entity;
    named.name = columnsClass(entity.name);
    node.columns = parser.getEntityHeader(named);
  }
  for (ParserAPI::Entity& child : parser.getEntityChildren(entity)) {
    node.children.push_back(readNode(parser, std::move(child), depth + 1));
  }
  return node;
}

}  // namespace

std::string ResultNode::text(std::string_view column) const {
  if (rows.empty()) return {};
  for (size_t index = 0; index < columns.size() && index < rows[0].size(); ++index) {
    if (columns[index] == column)
      return rows[0][index] == ScanVOXTags::VOX_NULL ? std::string() : rows[0][index];
  }
  return {};
}

int64_t ResultNode::number(std::string_view column) const {
  return toInt64(text(column));
}

std::vector<int64_t> ResultNode::numbers(std::string_view column) const {
  const std::string cell = text(column);
  std::vector<int64_t> values;
  for (std::string_view rest = cell; !rest.empty();) {
    values.push_back(toInt64(rest));
    const size_t comma = rest.find(',');
    rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
  }
  return values;
}

const ResultNode* ResultNode::child(std::string_view childTag) const {
  for (const ResultNode& candidate : children) {
    if (candidate.tag == childTag) return &candidate;
  }
  return nullptr;
}

std::vector<const ResultNode*> ResultNode::childrenOf(std::string_view childTag) const {
  std::vector<const ResultNode*> found;
  for (const ResultNode& candidate : children) {
    if (candidate.tag == childTag) found.push_back(&candidate);
  }
  return found;
}

std::vector<ResultNode> readResultFile(const std::string& fileName) {
  try {
    ParserAPI parser(fileName);
    std::vector<ResultNode> nodes;
    bool found = false;
    std::optional<ParserAPI::Entity> entity;
    while ((entity = parser.findNextEntity(entity))) {
      if (entity->name != ScanVOXTags::AS) continue;
      found = true;
      for (ResultNode& child : readNode(parser, *entity, 0).children) nodes.push_back(std::move(child));
    }
    if (!found) throw ResultFileError("it holds no result (no \"AgentScan\" node)");
    return nodes;
  } catch (const VOXParserException& exception) {
    // The parser speaks of definitions, which have the same grammar.
    switch (exception.getCode()) {
      case VOXParserException::NOT_OPENED:
        throw ResultFileError("it can't be opened, or is no file");
      case VOXParserException::CLASS_NOT_IN_HEADER:
        throw ResultFileError("its header block doesn't name the columns of all its records");
      default:
        throw ResultFileError("it can't be read");
    }
  }
}

}  // namespace agent::tools
