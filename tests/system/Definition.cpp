#include "system/Definition.h"

#include <algorithm>

namespace agent::test {

namespace {

/// The columns of the classes met, in the order met.
using Header = std::vector<std::pair<std::string, std::vector<std::string>>>;

void collect(const Record& record, Header& header) {
  auto found =
      std::find_if(header.begin(), header.end(), [&](const auto& each) { return each.first == record.tag; });
  if (found == header.end()) found = header.insert(header.end(), {record.tag, {}});
  for (const auto& [column, value] : record.cells) {
    if (std::find(found->second.begin(), found->second.end(), column) == found->second.end()) {
      found->second.push_back(column);
    }
  }
  for (const Record& child : record.children) collect(child, header);
}

std::string joined(const std::vector<std::string>& texts) {
  std::string line;
  for (const std::string& text : texts) line += (line.empty() ? "" : ",") + text;
  return line;
}

std::string node(const Record& record, const Header& header) {
  std::string text = "[" + record.tag + "]\n";
  if (!record.cells.empty()) {
    std::vector<std::string> row;
    for (const auto& [tag, columns] : header) {
      if (tag != record.tag) continue;
      for (const std::string& column : columns) {
        const auto cell = std::find_if(record.cells.begin(), record.cells.end(),
                                       [&](const auto& each) { return each.first == column; });
        row.push_back(cell == record.cells.end() ? "" : cell->second);
      }
    }
    text += definitionRow(row);
  }
  for (const Record& child : record.children) text += node(child, header);
  return text + "[/" + record.tag + "]\n";
}

}  // namespace

std::string definitionRow(const std::vector<std::string>& cells) {
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

std::string whereClause(const std::string& bytes) {
  std::vector<std::string> numbers;
  for (const char byte : bytes) numbers.push_back(std::to_string(static_cast<signed char>(byte)));
  return joined(numbers);
}

Record& Record::set(const std::string& column, const std::string& value) {
  const auto cell =
      std::find_if(cells.begin(), cells.end(), [&](const auto& each) { return each.first == column; });
  (cell == cells.end() ? cells.emplace_back(column, "") : *cell).second = value;
  return *this;
}

Record& Record::add(Record child) {
  children.push_back(std::move(child));
  return *this;
}

Record filesystem(int id, const std::string& mountPoint, int type) {
  return Record{"Filesystem", {}, {}}.set("fsID", id).set("fsMountPoint", mountPoint).set("fsType", type);
}

Record statistic(int id, int type, const std::string& name) {
  return Record{"CuStatDef", {}, {}}
      .set("sdID", id)
      .set("sdCreator", "admin")
      .set("sdName", name)
      .set("sdType", type);
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
  return Record{"MonDirSpec", {}, {}}
      .set("mdsID", id)
      .set("mdsGroupID", 7)
      .set("mdsComputerID", computerID)
      .set("mdsPath", path);
}

Record nasFiler(int computerID, const std::string& name, const std::string& networkName, int osType) {
  return Record{"NasFiler", {}, {}}
      .set("nfComputerID", computerID)
      .set("nfName", name)
      .set("nfNetworkName", networkName)
      .set("nfOSType", osType);
}

Record domain(int id, const std::string& name) {
  return Record{"Domain", {}, {}}.set("domID", id).set("domName", name);
}

Record ldapTree(int id, const std::string& name) {
  return Record{"LdapTree", {}, {}}.set("ltTreeID", id).set("ltName", name);
}

Record restrictedTo(Record filesystem) {
  return Record{"ResultsByFS", {}, {}}.add(std::move(filesystem));
}

Definition& Definition::add(Record record) {
  records.push_back(std::move(record));
  return *this;
}

std::string Definition::text() const {
  Record scan{"AgentScan", {}, records};
  scan.set("asJobName", jobName).set("asScanningCompID", scanningCompID);
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
