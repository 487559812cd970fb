#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"
#include "Probe/Filesystem.h"
#include "Scan/results/MonDirSpec.h"
#include "Scan/statistics/CuStatDef.h"

namespace agent {

/// A job's monitored directories, in list order.
using MonDirSpecList = std::deque<std::unique_ptr<MonDirSpec>>;

/// What one job is to do: the root record of a definition. Owns the definition's lists.
class AgentScan : public EntityToObjectMapper {
 public:
  AgentScan() : EntityToObjectMapper("AgentScan") {}

  static const RecordTable<AgentScan>& table();

  void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) override;

  FilesystemList& getFilesystems() { return filesystems_; }
  void setFilesystems(FilesystemList filesystems);
  MonDirSpecList& getDirectories() { return directories_; }
  StatisticList& getStatistics() { return statistics_; }
  int32_t getScanningCompId() const { return scanningCompId_; }

  /// Writes the whole header block of a result file: every record class, whether a row of it will follow or
  /// not.
  void printHeader(GenericPrint& print) const;
  /// Writes the row and all lists, as the record itself would stand in a file.
  void printData(GenericPrint& print) const;
  void printFilesystems(GenericPrint& print) const;
  void printCuStatDefs(GenericPrint& print) const;
  void printMonDirSpecs(GenericPrint& print) const;

 private:
  std::string jobName_;
  int32_t scanningCompId_ = 0;
  FilesystemList filesystems_;  // the last one of the definition first
  MonDirSpecList directories_;  // the last one of the definition first
  StatisticList statistics_;    // in the definition's order; go first, since results point at file systems
};

}  // namespace agent
