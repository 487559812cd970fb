#include "JsonReport.h"

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"

namespace agent::tools {

namespace {

using Json = nlohmann::ordered_json;

/// What the records of a place have in common.
struct Context {  // NOLINT(bugprone-exception-escape): the library swaps values that it calls noexcept
  Json filesystem;
  Json statistic;
  std::optional<std::string> directory;
};

bool isUtf8(const std::string& text) {
  try {
    (void)Json(text).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

std::string hexadecimal(const std::string& bytes) {
  static constexpr char DIGITS[] = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += DIGITS[value >> 4];
    text += DIGITS[value & 0xF];
  }
  return text;
}

/// A text, and beside it its bytes where it is no UTF-8.
void addText(Json& object, const std::string& name, const std::string& text) {
  object[name] = text;
  if (!isUtf8(text)) object[name + "Bytes"] = hexadecimal(text);
}

/// @param kind none for a column that isn't known: it goes by its looks
bool isText(const std::string& cell, std::optional<CellKind> kind) {
  if (kind) return kind == CellKind::TEXT || kind == CellKind::TEXTS || kind == CellKind::SELECTION;
  return cell != ScanVOXTags::VOX_TRUE && cell != ScanVOXTags::VOX_FALSE &&
         cell.find_first_not_of("+-.0123456789") != std::string::npos;
}

Json array(const std::string& cell) {
  Json values = Json::array();
  for (std::string_view rest = cell; !rest.empty();) {
    values.push_back(toInt64(rest));
    const size_t comma = rest.find(',');
    rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
  }
  return values;
}

void addField(Json& fields, const std::string& column, const std::string& cell,
              std::optional<CellKind> kind) {
  if (cell == ScanVOXTags::VOX_NULL) {
    fields[column] = nullptr;
  } else if (isText(cell, kind)) {
    addText(fields, column, cell);
  } else if (kind == CellKind::NUMBERS) {
    fields[column] = array(cell);
  } else if (cell == ScanVOXTags::VOX_TRUE || cell == ScanVOXTags::VOX_FALSE) {
    fields[column] = cell == ScanVOXTags::VOX_TRUE;
  } else if (cell.find('.') != std::string::npos) {
    fields[column] = std::strtod(cell.c_str(), nullptr);
  } else {
    fields[column] = toInt64(cell);
  }
}

Json fieldsOf(const ResultNode& node, const Row& row) {
  Json fields = Json::object();
  for (size_t place = 0; place < row.size(); ++place) {
    addField(fields, node.columns->names[place], row[place], node.columns->kinds[place]);
  }
  return fields;
}

/// Owners, groups and file types belong to the record around them, not on a line of their own.
bool isPartOfRecord(const std::string& tag) {
  return tag == ScanVOXTags::UG_USER || tag == ScanVOXTags::UG_GROUP || tag == ScanVOXTags::UG_USER_GROUP ||
         tag == ScanVOXTags::FTP || tag == ScanVOXTags::MDS;
}

/// As it is but for characters that a terminal acts upon, which JSON may escape.
void printLine(std::ostream& out, const Json& line) {
  const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string shown;
  shown.reserve(text.size() + 1);
  for (std::string_view rest = text; !rest.empty();) {
    size_t length = harmlessLength(rest);
    if (length > 0) {
      shown += rest.substr(0, length);
    } else {
      do ++length;
      while (length < rest.size() && (rest[length] & 0xC0) == 0x80);
      const std::string quoted = Json(rest.substr(0, length)).dump(-1, ' ', true);
      shown += std::string_view(quoted).substr(1, quoted.size() - 2);
    }
    rest.remove_prefix(length);
  }
  out << shown << '\n';
}

void printRecord(std::ostream& out, const ResultNode& node, const Context& context) {
  if (!node.rows.empty()) {
    Json line;
    line["class"] = node.tag;
    if (!context.filesystem.is_null()) line["filesystem"] = context.filesystem;
    if (!context.statistic.is_null()) line["statistic"] = context.statistic;
    if (context.directory) addText(line, "directory", *context.directory);
    line["fields"] = fieldsOf(node, node.rows[0]);
    for (const ResultNode& part : node.children) {
      if (!isPartOfRecord(part.tag)) continue;
      if (part.tag == ScanVOXTags::MDS) {
        Json specs = Json::array();
        for (const Row& row : part.rows) specs.push_back(fieldsOf(part, row));
        line[part.tag] = specs;
      } else if (!part.rows.empty()) {
        line[part.tag] = fieldsOf(part, part.rows[0]);
      }
    }
    printLine(out, line);
  }
  for (const ResultNode& child : node.children) {
    if (!isPartOfRecord(child.tag)) printRecord(out, child, context);
  }
}

Json nameOf(const ResultNode& node, const char* id, const char* name) {
  Json named = {{"id", node.number(id)}};
  addText(named, "name", node.text(name));
  return named;
}

}  // namespace

void printJson(std::ostream& out, const ResultFile& result) {
  if (result.fault) {
    printLine(out, {{"class", "NotWhole"}, {"line", result.fault->line}, {"reason", result.fault->reason}});
  }
  Context context;
  for (const ResultNode& node : result.nodes) {
    if (node.tag == ScanVOXTags::FILESYSTEM) {
      context = {};
      context.filesystem = {{"id", node.number(Filesystem::FILESYSTEM_ID)}};
      addText(context.filesystem, "mountPoint", node.text(Filesystem::FILESYSTEM_MNTPT));
    }
    if (node.tag != ScanVOXTags::SD) {
      printRecord(out, node, context);
      continue;
    }
    Context ofStatistic = context;
    ofStatistic.statistic = nameOf(node, ScanVOXTags::SD_ID, ScanVOXTags::SD_NAME);
    ResultNode definitionAlone = node;
    definitionAlone.children.clear();
    printRecord(out, definitionAlone, ofStatistic);
    for (const ResultNode* byFS : node.childrenOf(ScanVOXTags::RESULTS_BY_FS)) {
      const ResultNode* directory = byFS->child(ScanVOXTags::SM);
      ofStatistic.directory =
          directory != nullptr ? std::optional(directory->text(ScanVOXTags::FA_NAME)) : std::nullopt;
      // The source closes the node; it has stood on a line of its own already.
      if (const ResultNode* results = byFS->child(ScanVOXTags::SR)) printRecord(out, *results, ofStatistic);
    }
  }
}

}  // namespace agent::tools
