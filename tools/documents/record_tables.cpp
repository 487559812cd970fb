// For developers: the tables of docs/file-formats.md and docs/database.md, made from those that the programs
// read, print and load by.

#include <iostream>
#include <string>
#include <string_view>

#include "Scan/RecordClasses.h"
#include "documents/DocumentPart.h"
#include "figures/ResultTables.h"

namespace agent::tools {

namespace {

constexpr const char* BEGIN = "<!-- made by record_tables: -->\n";
constexpr const char* DATABASE_BEGIN = "<!-- made by record_tables, of the database: -->\n";
constexpr const char* END = "<!-- end of what record_tables makes -->\n";
constexpr const char* USAGE =
    "usage: record_tables [--check FILE | --write FILE]\n"
    "\n"
    "Prints the tables of all record classes. With --check it tells whether FILE has them\n"
    "between its two marks, with --write it puts them there. Of database.md those are the\n"
    "tables of the database.\n";

/// What the kind of a column doesn't say, of a class that stands in both files.
std::string oneWay(const RecordClass& recordClass, const RecordDescription::Column& column) {
  if (!recordClass.inDefinition || !recordClass.inResult) return "";
  return !column.isRead ? ", not read" : !column.isPrinted ? ", not written" : "";
}

const char* placeOf(const RecordClass& recordClass) {
  if (recordClass.inDefinition) return recordClass.inResult ? "In both files. " : "In definitions. ";
  return recordClass.inResult ? "In results. " : "In no file. ";
}

std::string tableOf(const RecordClass& recordClass) {
  const RecordDescription& record = recordClass.record;
  std::string text = "### `" + std::string(record.tag) + "`\n\n" + placeOf(recordClass) + record.meaning;
  if (record.front != nullptr) {
    text += " Its columns are those of `" + std::string(record.front) + "`, then:";
  }
  text += "\n\n";
  if (record.columns.empty()) return text;
  text += "| Column | Kind | Meaning |\n|---|---|---|\n";
  for (size_t i = record.frontColumns; i < record.columns.size(); ++i) {
    const RecordDescription::Column& column = record.columns[i];
    text += "| `" + std::string(column.tag) + "` | " + nameOf(column.kind) + oneWay(recordClass, column) +
            " | " + column.meaning + " |\n";
  }
  return text + "\n";
}

std::string allTables() {
  std::string text = "\n";
  for (const RecordClass& recordClass : recordClasses()) text += tableOf(recordClass);
  return text;
}

std::string databaseTables() {
  std::string text = "\n";
  for (const ResultTable* table : resultTables()) {
    text += "### `" + std::string(table->name) + "`\n\n" + table->meaning +
            "\n\n| Column | Kind | Meaning |\n|---|---|---|\n";
    for (const TableColumn& column : table->columns) {
      text += "| `" + std::string(column.name) + "` | " + nameOf(column.kind) +
              (column.inKey ? ", in the key" : "") + (column.mayBeEmpty ? ", or none" : "") + " | " +
              column.meaning + " |\n";
    }
    text += "\n";
  }
  return text;
}

}  // namespace

}  // namespace agent::tools

int main(int argc, char** argv) {
  const std::string_view action = argc > 1 ? argv[1] : "";
  if (argc == 1) {
    std::cout << agent::tools::allTables();
    return 0;
  }
  if (argc != 3 || (action != "--check" && action != "--write")) {
    std::cerr << agent::tools::USAGE;
    return 2;
  }
  using namespace agent::tools;
  const std::string file = argv[2];
  const bool ofDatabase = file.ends_with("database.md");
  const DocumentPart part{"record_tables", ofDatabase ? DATABASE_BEGIN : BEGIN, END,
                          ofDatabase ? databaseTables() : allTables()};
  return action == "--write" ? part.write(file) : part.check(file);
}
