#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Common/CellFormat.h"
#include "Common/EntityToObjectMapper.h"
#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

/// One column of a record class: everything that is to be known about it. Whatever reads, prints, writes or
/// documents the record goes by these.
///
/// Made by column(); what is peculiar to one is said behind: column<...>(...).onlyRead().
template <typename Record>
struct Column {
  static constexpr size_t ANY_PLACE = static_cast<size_t>(-1);

  const char* tag;      ///< its name in files
  const char* meaning;  ///< one line, for documents
  CellKind kind;
  void (*read)(Record&, const std::string& cell) = nullptr;  ///< null: a definition's cell is passed over
  std::string (*print)(const Record&) = nullptr;             ///< null: it isn't among those that print
  const char* empty = ScanVOXTags::VOX_NULL;                 ///< how a result spells no value
  size_t place = ANY_PLACE;                                  ///< where alone a definition may have it, from 0

  constexpr Column onlyRead() const {
    Column changed = *this;
    changed.print = nullptr;
    return changed;
  }
  constexpr Column onlyPrinted() const {
    Column changed = *this;
    changed.read = nullptr;
    return changed;
  }
  constexpr Column emptyAs(const char* text) const {
    Column changed = *this;
    changed.empty = text;
    return changed;
  }
  constexpr Column onlyAt(size_t onlyPlace) const {
    Column changed = *this;
    changed.place = onlyPlace;
    return changed;
  }
};

namespace record_table {
template <typename Owner, typename Value>
Owner ownerOf(Value Owner::*);
template <typename Owner, typename Value>
Value valueOf(Value Owner::*);
}  // namespace record_table

/// The column that holds a field, as column<&SSummary::sumCapacity>("sumCapacity", "...").
/// @tparam Record the field's class, or one derived from it
template <auto FIELD, typename Format = UsualFormat<decltype(record_table::valueOf(FIELD))>,
          typename Record = decltype(record_table::ownerOf(FIELD))>
constexpr Column<Record> column(const char* tag, const char* meaning) {
  Column<Record> made{.tag = tag, .meaning = meaning, .kind = Format::KIND};
  if constexpr (requires(Record & record, const std::string& cell) { Format::read(record.*FIELD, cell); }) {
    made.read = [](Record& record, const std::string& cell) { Format::read(record.*FIELD, cell); };
  }
  made.print = [](const Record& record) -> std::string { return Format::print(record.*FIELD); };
  return made;
}

/// A record class as it stands in files, without its C++ type: for documents, reports and tests.
struct RecordDescription {
  struct Column {
    const char* tag;
    const char* meaning;
    CellKind kind;
    bool isRead;     ///< from definitions
    bool isPrinted;  ///< into results
  };

  const char* tag;
  const char* meaning;
  const char* front = nullptr;  ///< the class whose columns this one's begin with
  size_t frontColumns = 0;      ///< how many those are
  std::vector<Column> columns;  ///< all, in the order of the printed row
};

/// The columns of a record class, in the order of its printed row. Each class has one, constant, behind its
/// static `table()`.
/// @tparam Front the class whose columns stand in front of the record's own, a base of it; void: none
template <typename Record, typename Front = void>
class RecordTable {
 public:
  /// @param tag the class tag
  /// @param meaning one line, for documents
  constexpr RecordTable(const char* tag, const char* meaning, std::span<const Column<Record>> columns)
      : tag_(tag), meaning_(meaning), columns_(columns) {}
  /// A node without columns.
  constexpr RecordTable(const char* tag, const char* meaning) : tag_(tag), meaning_(meaning) {}

  const char* tag() const { return tag_; }
  size_t size() const { return frontSize() + columns_.size(); }

  /// The column that a definition means by a name.
  /// @param place where the name stands in its header row, from 0
  /// @return its place in this table, or HeaderRow::NO_COLUMN
  size_t find(std::string_view name, size_t place) const {
    if constexpr (HAS_FRONT) {
      if (const size_t found = Front::table().find(name, place); found != HeaderRow::NO_COLUMN) return found;
    }
    for (size_t i = 0; i < columns_.size(); ++i) {
      const Column<Record>& column = columns_[i];
      const bool mayStandHere = column.place == Column<Record>::ANY_PLACE || column.place == place;
      if (column.read != nullptr && mayStandHere && name == column.tag) return frontSize() + i;
    }
    return HeaderRow::NO_COLUMN;
  }

  /// Takes a row's cells into the record's fields; those that no column is named for are passed over.
  void read(Record& record, const HeaderRow& header, const Row& row) const {
    const std::vector<size_t>& places = header.placesIn(*this);
    const size_t cells = std::min(places.size(), row.size());
    for (size_t i = 0; i < cells; ++i) {
      if (places[i] != HeaderRow::NO_COLUMN) readCell(record, places[i], row[i]);
    }
  }

  /// Names of the printed columns.
  Row names() const {
    Row row;
    for (const RecordDescription::Column& column : describe().columns) {
      if (column.isPrinted) row.emplace_back(column.tag);
    }
    return row;
  }

  /// Values of the printed columns; one that there isn't is empty.
  Row values(const Record& record) const {
    Row row;
    row.reserve(size());
    append(row, record, [](const auto& /*column*/, std::string& /*value*/) {});
    return row;
  }

  /// Values of the printed columns as a result spells them.
  Row cells(const Record& record) const {
    Row row;
    row.reserve(size());
    append(row, record, [](const auto& column, std::string& value) {
      if (value.empty()) value = column.empty;
    });
    return row;
  }

  /// Writes the header row; a class without columns has none.
  void printHeader(GenericPrint& print) const {
    if (size() > 0) print.printHeader(names());
  }
  /// Writes the data row.
  void printData(GenericPrint& print, const Record& record) const { print.printData(cells(record)); }
  /// Writes the data row in a node of the class.
  void printNode(GenericPrint& print, const Record& record) const {
    print.beginNode(tag_);
    printData(print, record);
    print.endNode(tag_);
  }

  RecordDescription describe() const {
    RecordDescription description{.tag = tag_, .meaning = meaning_, .columns = {}};
    if constexpr (HAS_FRONT) {
      description.columns = Front::table().describe().columns;
      description.front = Front::table().tag();
      description.frontColumns = description.columns.size();
    }
    for (const Column<Record>& column : columns_) {
      description.columns.push_back(
          {column.tag, column.meaning, column.kind, column.read != nullptr, column.print != nullptr});
    }
    return description;
  }

 private:
  template <typename, typename>
  friend class RecordTable;

  static constexpr bool HAS_FRONT = !std::is_void_v<Front>;

  static size_t frontSize() {
    if constexpr (HAS_FRONT) {
      return Front::table().size();
    } else {
      return 0;
    }
  }

  void readCell(Record& record, size_t place, const std::string& cell) const {
    if constexpr (HAS_FRONT) {
      if (place < frontSize()) return Front::table().readCell(record, place, cell);
    }
    columns_[place - frontSize()].read(record, cell);
  }

  template <typename Finish>
  void append(Row& row, const Record& record, Finish finish) const {
    if constexpr (HAS_FRONT) Front::table().append(row, record, finish);
    for (const Column<Record>& column : columns_) {
      if (column.print != nullptr) finish(column, row.emplace_back(column.print(record)));
    }
  }

  const char* tag_;
  const char* meaning_;
  std::span<const Column<Record>> columns_;
};

}  // namespace agent
