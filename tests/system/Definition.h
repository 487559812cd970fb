#pragma once

#include <map>
#include <string>
#include <vector>

namespace agent::test {

/// One record of a definition: its class, its cells by column, its children.
struct Record {
  std::string tag;
  std::map<std::string, std::string> cells{};
  std::vector<Record> children{};

  /// Sets a cell, or replaces it.
  Record& set(const std::string& column, const std::string& value);
  Record& set(const std::string& column, long long value) { return set(column, std::to_string(value)); }
  Record& add(Record child);
};

Record filesystem(int id, const std::string& mountPoint, int type = 10);
/// A statistic without lists and flags. @param type sdType: 3 is a file system's own
Record statistic(int id, int type, const std::string& name);
/// One that gathers everything there is, with lists of this length. @param type as above
Record fullStatistic(int id, int type, const std::string& name, int length);
Record monitoredDirectory(int id, const std::string& path, int computerID = 0);
Record nasFiler(int computerID, const std::string& name, const std::string& networkName = {}, int osType = 1);
/// A file system that a statistic of sdType 4 is restricted to.
Record restrictedTo(Record filesystem);

/// A compiled selection as the cell of sdWhereClause.
std::string whereClause(const std::string& bytes);

/// A whole definition. The header block names for each class every column that one of its records sets; a
/// record that doesn't set it has null there, which reads as nothing, or 0.
struct Definition {
  std::vector<Record> records;

  Definition& add(Record record);
  std::string text() const;
};

/// The smallest complete one: file systems in the order given, with ids from 1, and a summary of each.
Definition summaryOf(const std::vector<std::string>& mountPoints);

}  // namespace agent::test
