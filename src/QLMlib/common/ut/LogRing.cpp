#include "QLMlib/common/ut/LogRing.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QLMlib/common/nls/LibraryMessages.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Product.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

// These stand in files.
constexpr std::string_view HEADER_WORD = "LOGHEADERREC ";
constexpr size_t NEXT_WRITE_COLUMNS = 12;
constexpr size_t WRAP_SIZE_COLUMNS = 10;
constexpr size_t HEADER_LIMIT = 512;

constexpr uint64_t SHORTEST_LINE = 128;  // a ring that can't hold this much is none

/// The text of a mark; the catalog may be missing while a log is not.
std::string markText(const Message& message, std::string_view builtIn) {
  std::string text = messageText(message);
  return text.empty() ? std::string(builtIn) : text;
}

int readWhole(int descriptor, std::string& bytes) {
  struct stat status;
  if (sys.fstat(descriptor, &status) == -1) return errno;
  if (!S_ISREG(status.st_mode)) return EINVAL;
  bytes.resize(static_cast<size_t>(status.st_size));
  const ssize_t got = readAt(descriptor, bytes.data(), bytes.size(), 0);
  if (got == -1) return errno;
  bytes.resize(static_cast<size_t>(got));
  return 0;
}

std::string_view withoutFirstLine(std::string_view text) {
  const size_t end = text.find('\n');
  return end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
}

}  // namespace

bool LogRing::parseHeader(std::string_view bytes, Header& header) {
  const size_t end = bytes.substr(0, HEADER_LIMIT).find('\n');
  if (end == std::string_view::npos || bytes.substr(0, HEADER_WORD.size()) != HEADER_WORD) return false;
  header.length = end + 1;
  std::string_view line = bytes.substr(HEADER_WORD.size(), end - HEADER_WORD.size());
  return takeNumber(line, header.nextWrite) && takeNumber(line, header.wrapSize);
}

std::string LogRing::headerLine(uint64_t nextWrite) const {
  return std::string(HEADER_WORD) + blankFilled(nextWrite, NEXT_WRITE_COLUMNS) +
         blankFilled(wrapSize_, WRAP_SIZE_COLUMNS) + " " + PRODUCT_NAME + " " + PRODUCT_VERSION +
         "   Build date: " + buildDate() + "\n";
}

/// Behind the header line and the blank line after it.
uint64_t LogRing::dataStart() const {
  return headerLine(0).size() + 1;
}

/// What a write may take at most: at the data's start it must not reach the point where it would go round.
uint64_t LogRing::largestWrite() const {
  const uint64_t kept = dataStart() + endMark_.size() + wrapMark_.size() + 2;
  return kept < wrapSize_ ? wrapSize_ - kept : 0;
}

bool LogRing::isOurs(const Header& header, uint64_t size) const {
  return header.wrapSize == wrapSize_ && header.length + 1 == dataStart() &&
         header.nextWrite >= dataStart() && header.nextWrite <= size;
}

int LogRing::open(const std::string& path, uint32_t wrapSize) {
  wrapSize_ = wrapSize;
  wrapMark_ = markText(messages::LOG_CONTINUED, "--- Continued at the beginning of the file ---");
  endMark_ = markText(messages::LOG_END, "--- End of data ---") + "\n";
  if (largestWrite() < SHORTEST_LINE) return EINVAL;

  descriptor_ = openFile(path.c_str(), O_RDWR | O_CREAT | O_NONBLOCK, 0666);
  if (!descriptor_) return errno;
  std::string start(HEADER_LIMIT, '\0');
  const ssize_t got = readAt(descriptor_.get(), start.data(), start.size(), 0);
  struct stat status;
  if (got == -1 || sys.fstat(descriptor_.get(), &status) == -1) return errno;
  start.resize(static_cast<size_t>(got));

  Header header;
  if (parseHeader(start, header)) {
    TRACE(TR_GENERAL, "utWrapFile(): got offset %d and max %d of <%s>.\n", static_cast<int>(header.nextWrite),
          static_cast<int>(header.wrapSize), path.c_str());
    if (isOurs(header, static_cast<uint64_t>(status.st_size))) return 0;
  }
  std::string bytes;
  if (const int failure = readWhole(descriptor_.get(), bytes); failure != 0) return failure;
  return rewrite(path, bytes);
}

/// The lines of a log in the order of their writing, whatever it was before: a ring of any size, a plain
/// file, or one whose header is damaged.
std::string LogRing::linesOldestFirst(std::string_view bytes) const {
  Header header;
  if (!parseHeader(bytes, header)) return std::string(bytes);
  if (header.nextWrite < header.length || header.nextWrite > bytes.size()) {
    return std::string(bytes.substr(header.length));
  }
  std::string_view newest = bytes.substr(header.length, header.nextWrite - header.length);
  if (newest.substr(0, 1) == "\n") newest.remove_prefix(1);

  // The end-of-data mark ends within a line of the round before: what is left of that line goes.
  std::string_view oldest = bytes.substr(header.nextWrite);
  if (oldest.substr(0, endMark_.size()) == endMark_) oldest.remove_prefix(endMark_.size());
  oldest = withoutFirstLine(oldest);
  oldest = oldest.substr(0, oldest.rfind(wrapMark_));
  return std::string(oldest) + std::string(newest);
}

/// Makes a ring of the wanted size beside the file and puts it in the file's place.
int LogRing::rewrite(const std::string& path, std::string_view bytes) {
  const std::string lines = linesOldestFirst(bytes);
  std::string_view kept = lines;
  if (kept.size() > largestWrite()) kept = withoutFirstLine(kept.substr(kept.size() - largestWrite()));

  struct stat status;
  if (sys.fstat(descriptor_.get(), &status) == -1) return errno;
  const std::string temporary = workingCopyOf(path);
  OwnedDescriptor ring = openFile(temporary.c_str(), O_RDWR | O_CREAT | O_TRUNC, status.st_mode & 0777);
  if (!ring) return errno;
  const std::string whole =
      headerLine(dataStart() + kept.size()) + "\n" + std::string(kept) + (kept.empty() ? "" : endMark_);
  int failure = writeAll(ring.get(), whole);
  if (failure == 0 && sys.rename(temporary.c_str(), path.c_str()) == -1) failure = errno;
  if (failure != 0) {
    sys.unlink(temporary.c_str());
    return failure;
  }
  descriptor_ = std::move(ring);
  return 0;
}

int LogRing::write(std::string_view text) {
  if (!descriptor_) return EBADF;
  text = text.substr(0, largestWrite());

  std::string start(HEADER_LIMIT, '\0');
  const ssize_t got = readAt(descriptor_.get(), start.data(), start.size(), 0);
  if (got == -1) return errno;
  start.resize(static_cast<size_t>(got));
  Header header;
  if (!parseHeader(start, header) || !isOurs(header, wrapSize_)) return EIO;

  uint64_t position = header.nextWrite;
  if (position + text.size() + endMark_.size() >= wrapSize_ - wrapMark_.size() - 1) {
    if (const int failure = goRound(position); failure != 0) return failure;
    position = dataStart();
  }
  const std::string bytes = std::string(text) + endMark_;
  if (const int failure = writeAll(descriptor_.get(), bytes, static_cast<off_t>(position)); failure != 0) {
    return failure;
  }
  position += text.size();
  TRACE(TR_GENERAL, "utSetNextWrite(): nextWrite for END OF DATA is %d .\n", static_cast<int>(position));
  return writeAll(descriptor_.get(), blankFilled(position, NEXT_WRITE_COLUMNS),
                  static_cast<off_t>(HEADER_WORD.size()));
}

/// Closes the round at `position`: the wrap mark, and blanks up to the wrap size with a star in the last
/// column.
int LogRing::goRound(uint64_t position) {
  std::string line = wrapMark_;
  line.resize(wrapSize_ - position, ' ');
  line[line.size() - 2] = '*';
  line[line.size() - 1] = '\n';
  return writeAll(descriptor_.get(), line, static_cast<off_t>(position));
}

}  // namespace agent
