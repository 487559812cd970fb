#include "store/ResultSchema.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <variant>

#include "Common/SafeText.h"

namespace agent::tools {

namespace {

std::string bytesColumn(const char* name) {
  return std::string(name) + "_bytes";
}

template <typename Choose>
std::vector<std::string> columnsThat(const ResultTable& table, Choose choose) {
  std::vector<std::string> names;
  for (const TableColumn& column : table.columns) {
    if (choose(column)) names.emplace_back(column.name);
  }
  return names;
}

}  // namespace

bool isRun(const ResultTable& table) {
  return &table.parent() == &table;
}

std::vector<StoredColumn> storedColumns(const ResultTable& table) {
  std::vector<StoredColumn> columns;
  for (const TableColumn& column : table.columns) {
    const bool isText = column.kind == ColumnKind::TEXT || column.kind == ColumnKind::NAME;
    columns.push_back({column.name, isText ? StoredColumn::Kind::TEXT : StoredColumn::Kind::NUMBER,
                       column.mayBeEmpty, column.since});
    if (column.kind == ColumnKind::NAME) {
      columns.push_back({bytesColumn(column.name), StoredColumn::Kind::BYTES, true, column.since});
    }
  }
  return columns;
}

std::vector<StoredCell> storedCells(const ResultTable& table, std::span<const Cell> cells) {
  std::vector<StoredCell> stored;
  stored.reserve(2 * cells.size());
  for (size_t i = 0; i < cells.size(); ++i) {
    StoredCell& cell = stored.emplace_back();
    if (const auto* const number = std::get_if<int64_t>(&cells[i])) {
      cell.kind = StoredCell::Kind::NUMBER;
      cell.number = *number;
    }
    const auto* const bytes = std::get_if<std::string_view>(&cells[i]);
    if (bytes != nullptr) {
      cell.kind = StoredCell::Kind::TEXT;
      cell.bytes = safeText(*bytes);
    }
    if (table.columns[i].kind != ColumnKind::NAME) continue;
    const bool differs = bytes != nullptr && cell.bytes != *bytes;
    StoredCell& exact = stored.emplace_back();
    if (!differs) continue;
    exact.kind = StoredCell::Kind::BYTES;
    exact.bytes = *bytes;
  }
  return stored;
}

std::vector<std::string> keyColumns(const ResultTable& table) {
  return columnsThat(table, [](const TableColumn& column) { return column.inKey; });
}

std::vector<std::string> referenceColumns(const ResultTable& table) {
  return columnsThat(table, [](const TableColumn& column) { return column.reference; });
}

std::string commaSeparated(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

int newestOf(std::span<const ResultTable* const> tables) {
  int newest = 1;
  for (const ResultTable* table : tables) {
    newest = std::max(newest, table->since);
    for (const TableColumn& column : table->columns) newest = std::max(newest, column.since);
  }
  return newest;
}

}  // namespace agent::tools
