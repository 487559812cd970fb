#include "system/Definition.h"

#include <set>

namespace agent::test {

namespace {

/// The columns of each class met.
using Header = std::map<std::string, std::set<std::string>>;

void collect(const Record& record, Header& header) {
  std::set<std::string>& columns = header[record.tag];
  for (const auto& [column, value] : record.cells) columns.insert(column);
  for (const Record& child : record.children) collect(child, header);
}

template <typename Texts>
std::string joined(const Texts& texts) {
  std::string line;
  for (const std::string& text : texts) line += (line.empty() ? "" : ",") + text;
  return line;
}

/// A row of the grammar: cells quoted where they need it, an empty one as null.
std::string rowOf(const std::vector<std::string>& cells) {
  std::vector<std::string> written;
  for (const std::string& cell : cells) {
    if (cell.empty()) {
      written.push_back("null");
    } else if (cell.find_first_not_of("-0123456789") == std::string::npos) {
      written.push_back(cell);
    } else {
      std::string quoted;
      for (const char byte : cell) quoted += byte == '"' ? "\"\"" : std::string(1, byte);
      written.push_back("\"" + quoted + "\"");
    }
  }
  return joined(written) + "\n";
}

std::string node(const Record& record, const Header& header) {
  std::string text = "[" + record.tag + "]\n";
  if (!record.cells.empty()) {
    std::vector<std::string> row;
    for (const std::string& column : header.at(record.tag)) {
      const auto cell = record.cells.find(column);
      row.push_back(cell == record.cells.end() ? "" : cell->second);
    }
    text += rowOf(row);
  }
  for (const Record& child : record.children) text += node(child, header);
  return text + "[/" + record.tag + "]\n";
}

}  // namespace

std::string whereClause(const std::string& bytes) {
  std::vector<std::string> numbers;
  for (const char byte : bytes) numbers.push_back(std::to_string(static_cast<signed char>(byte)));
  return joined(numbers);
}

Record& Record::set(const std::string& column, const std::string& value) {
  cells[column] = value;
  return *this;
}

Record& Record::add(Record child) {
  children.push_back(std::move(child));
  return *this;
}

Record filesystem(int id, const std::string& mountPoint, int type) {
  return {"Filesystem",
          {{"fsID", std::to_string(id)}, {"fsMountPoint", mountPoint}, {"fsType", std::to_string(type)}}};
}

Record statistic(int id, int type, const std::string& name) {
  return {"CuStatDef",
          {{"sdID", std::to_string(id)},
           {"sdCreator", "admin"},
           {"sdName", name},
           {"sdType", std::to_string(type)}}};
}

Record fullStatistic(int id, int type, const std::string& name, int length) {
  Record record = statistic(id, type, name);
  for (const char* list : {"sdLargestDirectories", "sdLargestFiles", "sdLeastAccessed", "sdOldestNotBackedUp",
                           "sdLargestOrphans", "sdOldestOrphans", "sdLargestFileTypes"}) {
    record.set(list, length);
  }
  for (const char* flag : {"sdSummary", "sdSizeDistribution", "sdGroupByOwner", "sdGroupByGroup",
                           "sdGroupByAccess", "sdGroupByMod", "sdGroupByCreation", "sdGroupByBackup"}) {
    record.set(flag, "Y");
  }
  return record;
}

Record monitoredDirectory(int id, const std::string& path, int computerID) {
  const std::string computer = std::to_string(computerID);
  return {
      "MonDirSpec",
      {{"mdsID", std::to_string(id)}, {"mdsGroupID", "7"}, {"mdsComputerID", computer}, {"mdsPath", path}}};
}

Record nasFiler(int computerID, const std::string& name, const std::string& networkName, int osType) {
  return {"NasFiler",
          {{"nfComputerID", std::to_string(computerID)},
           {"nfName", name},
           {"nfNetworkName", networkName},
           {"nfOSType", std::to_string(osType)}}};
}

Record restrictedTo(Record filesystem) {
  return {"ResultsByFS", {}, {std::move(filesystem)}};
}

Definition& Definition::add(Record record) {
  records.push_back(std::move(record));
  return *this;
}

std::string Definition::text() const {
  const Record scan{"AgentScan", {{"asJobName", "nightly"}, {"asScanningCompID", "17"}}, records};
  Header header;
  collect(scan, header);
  std::string text = "[Header]\n";
  for (const auto& [tag, columns] : header) text += "[" + tag + "]\n" + joined(columns) + "\n";
  return text + "[/Header]\n" + node(scan, header);
}

Definition summaryOf(const std::vector<std::string>& mountPoints) {
  Definition definition;
  int id = 0;
  for (const std::string& mountPoint : mountPoints) definition.add(filesystem(++id, mountPoint));
  return definition.add(statistic(5, 3, "all of it").set("sdSummary", "Y"));
}

}  // namespace agent::test
