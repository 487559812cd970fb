#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Common/AnalysisSource.h"
#include "Common/Object.h"
#include "Common/RecordTable.h"
#include "Scan/results/CuStatResults.h"

namespace agent {

class Filesystem;

/// The results of one statistic for one file system or monitored directory. Owns the results, not their
/// source, unless the source is a record that the definition gave for this one place.
class ResultsByFS : public Object {
 public:
  /// @param source the file system or monitored directory; may be null
  explicit ResultsByFS(AnalysisSource* source);
  /// Takes over a record read from the definition.
  explicit ResultsByFS(std::unique_ptr<Filesystem> source);
  ~ResultsByFS() override;
  ResultsByFS(const ResultsByFS&) = delete;
  ResultsByFS& operator=(const ResultsByFS&) = delete;

  /// A node without columns of its own.
  static const RecordTable<ResultsByFS>& table();
  /// Writes nothing.
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  /// The source as a file system, or null.
  Filesystem* sourceFilesystem() const;
  /// The id of the file system that the source is or belongs to; nothing when that can't be told.
  std::optional<int32_t> filesystemID() const;

  std::unique_ptr<CuStatResults> rfResults;  ///< null until the walk gives them
  AnalysisSource* rfDirOrFS;                 ///< borrowed

 private:
  bool aboutDirectory_ = false;
  std::unique_ptr<Filesystem> ownSource_;
};

}  // namespace agent
