#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Common/Object.h"
#include "Common/unix/FileDescriptor.h"

namespace agent {

/// Writes the result file: node tags, header rows and data rows in the tagged grammar that ParserAPI reads.
/// The one place that knows the syntax. See docs/file-formats.md.
class GenericPrint : public Object {
 public:
  static constexpr int VOX_FORMAT = 3;  ///< the only format this job writes
  static const char* const MSG_FILE_OPEN_WRITE_FAILED;

  /// Creates the file's directory where it is missing and opens the file, truncating it. A failure is traced
  /// and shows at the first write, so that it ends the job like any other failed write.
  GenericPrint(int format, std::string fileName);
  ~GenericPrint() override = default;
  GenericPrint(const GenericPrint&) = delete;
  GenericPrint& operator=(const GenericPrint&) = delete;

  // Each of these writes one line and flushes it.
  // @throws VOXIOException when the line can't be written.
  void beginNode(std::string_view tag, std::string_view value = {});  ///< "[tag]" or "[tag,value]"
  void endNode(std::string_view tag);                                 ///< "[/tag]"
  void printHeader(const std::vector<std::string>& names);            ///< names joined by ",", unquoted
  void printData(const std::vector<std::string>& values);  ///< values quoted; empty ones as nothing

  /// @throws VOXIOException when the file can't be closed without loss.
  void closeFile();

  int format() const { return format_; }

  /// True once this object has opened (and so truncated) the file itself.
  bool hasOpenedFile() const { return opened_; }

 private:
  void writeLine(std::string line);

  int format_;
  std::string fileName_;
  FileDescriptor descriptor_;
  int openError_ = 0;  // errno of a failed open, told at the first write
  bool opened_ = false;
};

}  // namespace agent
