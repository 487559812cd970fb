#include "Common/GenericPrint.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Common/VOXIOException.h"
#include "Common/unix/psnautil.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

const char* const GenericPrint::MSG_FILE_OPEN_WRITE_FAILED = "ERROR: writing data to file failed";

namespace {

constexpr size_t USUAL_TAG_LENGTH = 50;
constexpr size_t USUAL_ROW_LENGTH = 256;

[[noreturn]] void throwWriteFailure(const char* call, const std::string& fileName, int error) {
  VOXIOException failure(GenericPrint::MSG_FILE_OPEN_WRITE_FAILED, std::string(call) + " '" + fileName + "'");
  failure.setCause(error == 0 ? "no file name" : std::generic_category().message(error));
  throw failure;
}

/// A cell between double quotes: its own are doubled; line ends, which would end the row, become blanks.
void appendQuoted(std::string& line, std::string_view value) {
  line += '"';
  for (const char c : value) {
    if (c == '\n' || c == '\r') {
      line += ' ';
    } else {
      if (c == '"') line += '"';
      line += c;
    }
  }
  line += '"';
}

}  // namespace

GenericPrint::GenericPrint(int format, std::string fileName)
    : Object("GenericPrint"), format_(format), fileName_(std::move(fileName)) {
  if (fileName_.empty()) {
    TRACE(TR_MIN, "Output file-name is empty.\n");
    return;
  }
  const size_t slash = fileName_.rfind('/');
  if (slash != std::string::npos && slash > 0) {
    const std::string directory = fileName_.substr(0, slash);
    if (psMkdir(directory) != 0) {
      openError_ = errno;
      TRACE(TR_MIN, "Unable to create path: %s\n", directory.c_str());
      return;
    }
  }
  // 0666 as every ordinary file: the umask of the agent decides who may read results.
  // O_NONBLOCK: a pipe in the file's place fails here or at the first write that would have to wait.
  descriptor_ = openFile(fileName_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK, 0666);
  if (!descriptor_) {
    openError_ = errno;
    TRACE(TR_MIN, "Unable to open file: %s\n", fileName_.c_str());
    return;
  }
  opened_ = true;
}

void GenericPrint::beginNode(std::string_view tag, std::string_view value) {
  std::string line;
  line.reserve(USUAL_TAG_LENGTH);
  line += '[';
  line += tag;
  if (!value.empty()) {
    line += ',';
    line += value;
  }
  line += ']';
  writeLine(std::move(line));
}

void GenericPrint::endNode(std::string_view tag) {
  std::string line;
  line.reserve(USUAL_TAG_LENGTH);
  line += "[/";
  line += tag;
  line += ']';
  writeLine(std::move(line));
}

void GenericPrint::printHeader(const std::vector<std::string>& names) {
  std::string line;
  line.reserve(USUAL_ROW_LENGTH);
  for (size_t i = 0; i < names.size(); ++i) {
    if (i > 0) line += ',';
    line += names[i];
  }
  writeLine(std::move(line));
}

void GenericPrint::printData(const std::vector<std::string>& values) {
  std::string line;
  line.reserve(USUAL_ROW_LENGTH);
  for (size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line += ',';
    if (!values[i].empty()) appendQuoted(line, values[i]);
  }
  writeLine(std::move(line));
}

void GenericPrint::writeLine(std::string line) {
  if (!descriptor_) throwWriteFailure("open", fileName_, openError_);
  line += '\n';
  // Nothing is kept back: a reader of the growing file sees whole lines, and a full disk shows at its line.
  if (const int error = writeAll(descriptor_.get(), line)) throwWriteFailure("write", fileName_, error);
}

void GenericPrint::closeFile() {
  TRACE_SCOPE("GenericPrint::closeFile()");
  if (!opened_) throwWriteFailure("open", fileName_, openError_);
  // A file on a network mount tells a lost write no earlier than here.
  if (const int error = descriptor_.close()) throwWriteFailure("close", fileName_, error);
}

}  // namespace agent
