#pragma once

#include <cstdint>
#include <vector>

#include "Scan/results/SFile.h"
#include "Scan/statistics/Accumulator.h"
#include "Scan/statistics/NMost.h"

namespace agent {

/// A list of the N files with the greatest key. Subclasses say which files, which key and which list.
class FileAccum : public Accumulator {
 public:
  /// @param nMaxToRetain N, from the definition
  FileAccum(const char* className, int32_t nMaxToRetain);

  void finish(CuStatResults& results) override;

 protected:
  /// Takes the entry if it ranks and is a regular file or a symbolic link.
  void offer(const Scanner& scanner, const FileAttributes& attributes, int64_t key, int16_t statType);

  /// Puts the finished list into its place in the results.
  virtual void storeList(CuStatResults& results, std::vector<SFile> files) = 0;

 private:
  NMost<SFile> most_;
};

/// The largest files.
class LargeFileAccum : public FileAccum {
 public:
  explicit LargeFileAccum(int32_t nMaxToRetain) : FileAccum("LargeFileAccum", nMaxToRetain) {}
  void accumulate(Scanner& scanner, FileAttributes& attributes) override;

 private:
  void storeList(CuStatResults& results, std::vector<SFile> files) override;
};

/// The files least recently accessed.
class OldFileAccum : public FileAccum {
 public:
  explicit OldFileAccum(int32_t nMaxToRetain) : FileAccum("OldFileAccum", nMaxToRetain) {}
  void accumulate(Scanner& scanner, FileAttributes& attributes) override;

 private:
  void storeList(CuStatResults& results, std::vector<SFile> files) override;
};

/// The oldest files that want a backup. No reader of this platform marks one: the list stays empty here.
class VulnerableFileAccum : public FileAccum {
 public:
  explicit VulnerableFileAccum(int32_t nMaxToRetain) : FileAccum("VulnerableFileAccum", nMaxToRetain) {}
  void accumulate(Scanner& scanner, FileAttributes& attributes) override;

 private:
  void storeList(CuStatResults& results, std::vector<SFile> files) override;
};

/// The largest files whose owner no longer exists.
class LargestOrphansAccum : public FileAccum {
 public:
  explicit LargestOrphansAccum(int32_t nMaxToRetain) : FileAccum("LargestOrphansAccum", nMaxToRetain) {}
  void accumulate(Scanner& scanner, FileAttributes& attributes) override;

 private:
  void storeList(CuStatResults& results, std::vector<SFile> files) override;
};

/// The files least recently accessed whose owner no longer exists.
class OldestOrphansAccum : public FileAccum {
 public:
  explicit OldestOrphansAccum(int32_t nMaxToRetain) : FileAccum("OldestOrphansAccum", nMaxToRetain) {}
  void accumulate(Scanner& scanner, FileAttributes& attributes) override;

 private:
  void storeList(CuStatResults& results, std::vector<SFile> files) override;
};

}  // namespace agent
