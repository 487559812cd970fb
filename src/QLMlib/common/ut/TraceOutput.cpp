#include "QLMlib/common/ut/TraceOutput.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Product.h"

namespace agent {
namespace {

// These stand in files: readers of traces look for them.
constexpr std::string_view MAGIC = "NRV Trace   ";
constexpr std::string_view UNWRITTEN_NUMBER = "123456789012";
constexpr std::string_view BEGINNING = "BEGINNING NEW TRACE\n\n";
constexpr std::string_view END_MARK = "\nEND OF DATA\n\n";
constexpr std::string_view CLOSE_MARK = "\nEND OF DATA - close\n\n";
constexpr std::string_view WRAP_MARK = "\nContinued at beginning of file\n\n";

constexpr uint64_t NUMBER_POSITION = 12;
constexpr uint64_t HEADER_POSITION = 24;
constexpr uint64_t ROOM_FOR_MARK = 17;  // kept free behind each record
constexpr int OPEN_FAILED = 426;

std::string segmentName(const std::string& name, uint64_t segment) {
  if (segment == 1) return name;
  const size_t slash = name.rfind('/');
  size_t dot = name.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = name.size();
  return name.substr(0, dot) + "." + std::to_string(segment) + name.substr(dot);
}

}  // namespace

int TraceOutput::open(const std::string& name, const TraceLimit& limit) {
  name_ = name;
  limit_ = limit;
  segment_ = 1;

  stream_ = name == "STDOUT" || name == "STDERR" || name == "CONSOLE";
  if (stream_) {
    descriptor_ = OwnedDescriptor(name == "STDERR" ? STDERR_FILENO : STDOUT_FILENO);
    return 0;
  }
  if (segmentCount() > 1) removeFurtherSegments(name);
  return openSegment(1) ? 0 : OPEN_FAILED;
}

bool TraceOutput::openSegment(uint64_t segment) {
  const uint64_t previous = segment_;
  segment_ = segment;
  if (limit_.maxMB == 0) return startPlain();

  // A name that is a pipe or a device must not hang the job; writing to it fails at the first record.
  descriptor_ = openFile(segmentName(name_, segment).c_str(), O_RDWR | O_CREAT | O_NONBLOCK, 0666);
  if (!descriptor_) return false;
  if (!keepRing() && !startRing()) return giveUp();
  if (segmentCount() == 1 || (segment == 1 && previous == 1)) return put(BEGINNING, END_MARK);
  return put("Continued from end of segment " + std::to_string(previous) + "\n\n", END_MARK);
}

bool TraceOutput::startPlain() {
  descriptor_ = openFile(name_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK, 0666);
  if (!descriptor_) return false;
  const std::string header = std::string(MAGIC) + PRODUCT_NAME + " " + PRODUCT_VERSION +
                             "  \nBuild Date: " + buildDate() + "\n" + std::string(BEGINNING);
  return writeAll(descriptor_.get(), header) == 0 || giveUp();
}

std::string TraceOutput::headerLine() const {
  return blankFilled(limit_.maxMB, 10) + " " + PRODUCT_NAME + " " + PRODUCT_VERSION +
         "   Build date: " + buildDate() + "\n\n";
}

/// Takes the ring of an earlier run over if it is one, is no larger than allowed, and its next position lies
/// within it. The header line is written anew; one of another length would run into the records.
bool TraceOutput::keepRing() {
  if (segmentCount() > 1) return false;
  struct stat status;
  if (sys.fstat(descriptor_.get(), &status) == -1 || !S_ISREG(status.st_mode)) return false;
  const auto size = static_cast<uint64_t>(status.st_size);
  if (size > segmentBytes() + WRAP_MARK.size() - ROOM_FOR_MARK) return false;

  std::array<char, 256> buffer;
  const ssize_t got = readAt(descriptor_.get(), buffer.data(), buffer.size(), 0);
  if (got <= 0) return false;
  std::string_view line(buffer.data(), static_cast<size_t>(got));
  const std::string header = headerLine();
  if (line.find('\n') != HEADER_POSITION + header.size() - 2) return false;

  if (line.substr(0, MAGIC.size()) != MAGIC) return false;
  line.remove_prefix(MAGIC.size());
  uint64_t next = 0;
  uint64_t storedLimit = 0;
  if (!takeNumber(line, next) || !takeNumber(line, storedLimit)) return false;
  const uint64_t start = HEADER_POSITION + header.size();
  if (storedLimit > limit_.maxMB || next < start || next > size) return false;

  if (writeAll(descriptor_.get(), header, static_cast<off_t>(HEADER_POSITION)) != 0) return false;
  wrapStart_ = start;
  nextWrite_ = next;
  return true;
}

bool TraceOutput::startRing() {
  const std::string header = std::string(MAGIC) + std::string(UNWRITTEN_NUMBER) + headerLine();
  if (sys.ftruncate(descriptor_.get(), 0) == -1) return false;
  if (writeAll(descriptor_.get(), header, 0) != 0) return false;
  wrapStart_ = nextWrite_ = header.size();
  return true;
}

bool TraceOutput::write(std::string_view record) {
  if (!isOpen()) return true;
  if (stream_) return writeToReader(descriptor_.get(), record) == 0 || giveUp();
  if (limit_.maxMB == 0) return writeAll(descriptor_.get(), record) == 0 || giveUp();

  const uint64_t whole = segmentBytes() - wrapStart_ - ROOM_FOR_MARK;
  if (record.size() > whole) record = record.substr(0, whole);
  return makeRoom(record.size()) && put(record, END_MARK);
}

/// Leaves nextWrite_ where a record of `size` bytes fits: in place, at the ring's beginning, or in the next
/// segment.
bool TraceOutput::makeRoom(size_t size) {
  if (nextWrite_ + size + ROOM_FOR_MARK <= segmentBytes()) return true;

  if (segmentCount() == 1) {
    if (writeAll(descriptor_.get(), WRAP_MARK, static_cast<off_t>(nextWrite_)) != 0) return giveUp();
    nextWrite_ = wrapStart_;
    return true;
  }
  const uint64_t next = segment_ % segmentCount() + 1;
  const std::string mark = "\nContinued at beginning of segment " + std::to_string(next) + "\n\n";
  if (writeAll(descriptor_.get(), mark, static_cast<off_t>(nextWrite_)) != 0) return giveUp();
  if (descriptor_.close() != 0) return false;
  return openSegment(next);
}

/// Record and end mark go out together, the header's position after them: a job that is killed in between
/// leaves a whole ring that ends one record earlier.
bool TraceOutput::put(std::string_view text, std::string_view mark) {
  std::string bytes;
  bytes.reserve(text.size() + mark.size());
  bytes.append(text).append(mark);
  if (writeAll(descriptor_.get(), bytes, static_cast<off_t>(nextWrite_)) != 0) return giveUp();
  nextWrite_ += text.size();
  return storeNextWrite() || giveUp();
}

bool TraceOutput::storeNextWrite() {
  return writeAll(descriptor_.get(), blankFilled(nextWrite_, UNWRITTEN_NUMBER.size()),
                  static_cast<off_t>(NUMBER_POSITION)) == 0;
}

bool TraceOutput::giveUp() {
  if (stream_) {
    descriptor_.release();
  } else {
    descriptor_.close();
  }
  return false;
}

int TraceOutput::close() {
  if (!isOpen()) return 0;
  if (stream_) {
    descriptor_.release();  // standard output and standard error stay the process's own
    return 0;
  }
  const off_t position = limit_.maxMB == 0 ? -1 : static_cast<off_t>(nextWrite_);
  const int failure = writeAll(descriptor_.get(), CLOSE_MARK, position);
  const int closeFailure = descriptor_.close();
  return failure != 0 ? failure : closeFailure;
}

uint64_t TraceOutput::segmentCount() const {
  if (limit_.maxMB <= limit_.segmentMB) return 1;
  return (limit_.maxMB + limit_.segmentMB - 1) / limit_.segmentMB;
}

uint64_t TraceOutput::segmentBytes() const {
  if (segmentCount() == 1) return limit_.maxMB * limit_.bytesPerMB;
  const uint64_t before = (segment_ - 1) * limit_.segmentMB;
  return std::min(limit_.segmentMB, limit_.maxMB - before) * limit_.bytesPerMB;
}

void TraceOutput::removeFurtherSegments(const std::string& name) {
  for (uint64_t segment = 2; sys.unlink(segmentName(name, segment).c_str()) == 0; ++segment) {
  }
}

}  // namespace agent
