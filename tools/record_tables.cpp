// For developers: the tables of docs/file-formats.md and docs/database.md, made from those that the programs
// read, print and load by.

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

#include "Scan/RecordClasses.h"
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
    "between its two marks, or those of the database where its mark says so, with --write it\n"
    "puts them there.\n";

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

std::string contentOf(const std::string& fileName) {
  std::ostringstream text;
  text << std::ifstream(fileName).rdbuf();
  return text.str();
}

/// @return exit code
int work(std::string_view action, const std::string& fileName) {
  const std::string document = contentOf(fileName);
  const bool ofDatabase = document.find(DATABASE_BEGIN) != std::string::npos;
  const char* const beginMark = ofDatabase ? DATABASE_BEGIN : BEGIN;
  const size_t begin = document.find(beginMark);
  const size_t end = document.find(END);
  if (begin == std::string::npos || end == std::string::npos || end < begin) {
    std::cerr << "record_tables: \"" << fileName << "\" can't be read or lacks the marks\n" << BEGIN << END;
    return 1;
  }
  const std::string renewed = document.substr(0, begin) + beginMark +
                              (ofDatabase ? databaseTables() : allTables()) + document.substr(end);
  if (action == "--write") {
    std::ofstream file(fileName);
    file << renewed << std::flush;
    if (!file) std::cerr << "record_tables: \"" << fileName << "\" can't be written\n";
    return file ? 0 : 1;
  }
  if (document == renewed) return 0;
  std::istringstream stands(document), wanted(renewed);
  std::string was, is;
  do {
    std::getline(stands, was);
    std::getline(wanted, is);
  } while (was == is);
  std::cerr << "record_tables: \"" << fileName << "\" isn't what the tables say. It has\n  " << was
            << "\ninstead of\n  " << is << "\nrecord_tables --write renews it.\n";
  return 1;
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
  return agent::tools::work(action, argv[2]);
}
