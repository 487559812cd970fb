#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "Common/Object.h"

namespace agent {

class GenericPrint;

/// One file name extension. Statistics and file systems share one record for each.
class FileType : public Object {
 public:
  explicit FileType(std::string extension);

  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t fptID = 0;             ///< stays 0 on this platform; the letters of the name are the format's
  std::string ftpFileExtension;  ///< with its leading dot, lower case
  std::string ftpDescription;    ///< stays empty on this platform
};

/// The extensions of one scan. Owns the records; lives until the results have been written.
class FileTypeTable {
 public:
  /// The record of an extension, made at the first request.
  const FileType& find(const std::string& extension);
  size_t size() const { return types_.size(); }

 private:
  std::map<std::string, std::unique_ptr<FileType>> types_;
};

}  // namespace agent
