#include "Scan/ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "Common/SafeText.h"
#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

namespace {

constexpr std::chrono::milliseconds REDRAW_INTERVAL{200};
constexpr const char* CLEAR_LINE = "\r\033[K";
constexpr size_t DEFAULT_COLUMNS = 80;

}  // namespace

ProgressLine::ProgressLine(int terminal) : FileAction("ProgressLine"), terminal_(terminal) {}

ProgressLine::~ProgressLine() {
  clear();
}

void ProgressLine::actUpon(Scanner& /*scanner*/, FileAttributes& attributes) {
  ++entries_;
  const Clock::time_point now = Clock::now();
  if (now - drawn_ >= REDRAW_INTERVAL) draw(attributes.faName, now);
}

void ProgressLine::draw(std::string_view path, Clock::time_point now) {
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const auto rate = static_cast<int64_t>(static_cast<double>(entries_) / seconds);
  std::string line = grouped(entries_) + " entries, " + grouped(rate) + "/s  ";
  const size_t width = columns() - 1;  // the last column makes some terminals begin a new line
  if (line.size() + 8 < width) line += fit(safeText(path.substr(0, path.rfind('/'))), width - line.size());
  write(CLEAR_LINE + line);
  visible_ = true;
  drawn_ = now;
}

void ProgressLine::clear() {
  if (visible_) write(CLEAR_LINE);
  visible_ = false;
}

size_t ProgressLine::columns() const {
  winsize size = {};
  return sys.ioctl(terminal_, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col : DEFAULT_COLUMNS;
}

void ProgressLine::write(const std::string& text) const {
  // A terminal that has stopped or gone away costs the line, not the scan.
  (void)writeToReader(terminal_, text, std::chrono::milliseconds::zero());
}

}  // namespace agent
