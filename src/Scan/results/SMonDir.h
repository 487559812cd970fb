#pragma once

#include <cstdint>
#include <vector>

#include "Common/AnalysisSource.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

class Filesystem;
class MonDirSpec;

/// One monitored directory that a walk has met, and what its results are about.
class SMonDir : public FileAttributes, public AnalysisSource {
 public:
  static constexpr int32_t NOT_ENTERED = -1;

  explicit SMonDir(Filesystem& filesystem)
      : FileAttributes(), AnalysisSource("SMonDir"), smFilesystem(filesystem) {}

  /// Takes over what the directory's entry says, when the walk enters it.
  void enterWith(const FileAttributes& entry, int32_t filesystemID);

  static const RecordTable<SMonDir, FileAttributes>& table();

  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t smFilesystemID = NOT_ENTERED;
  int32_t smDirectoryID = 0;
  std::vector<const MonDirSpec*> smDirSpecs;  ///< the specs that fired here, in the order in which they did;
                                              ///< borrowed from the job
  bool smNewDirectory = true;
  int32_t smScanTime = 0;     ///< stays 0 in this job
  int32_t smRemovedTime = 0;  ///< stays 0 in this job
  Filesystem& smFilesystem;
};

}  // namespace agent
