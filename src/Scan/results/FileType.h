#pragma once

#include <cstdint>
#include <string>

#include "Common/Object.h"
#include "Common/RecordTable.h"

namespace agent {

/// One file name extension.
class FileType : public Object {
 public:
  explicit FileType(std::string extension);

  static const RecordTable<FileType>& table();
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t fptID = 0;             ///< stays 0 on this platform; the letters of the name are the format's
  std::string ftpFileExtension;  ///< with its leading dot, lower case
  std::string ftpDescription;    ///< stays empty on this platform
};

}  // namespace agent
