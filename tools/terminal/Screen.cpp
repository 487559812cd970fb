#include "terminal/Screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"

namespace agent::tools {

namespace {

std::optional<size_t> numberFrom(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr ? wholeNumber<size_t>(value) : std::nullopt;
}

bool isSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

Screen Screen::ofStandardOutput() {
  Screen screen;
  if (sys.isatty(STDOUT_FILENO) != 1) return screen;
  const char* const terminal = std::getenv("TERM");
  const bool dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
  screen.color = !isSet("NO_COLOR") && !dumb;
  struct winsize size = {};
  if (sys.ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
    if (size.ws_col > 0) screen.width = size.ws_col;
    screen.lines = size.ws_row;
  }
  screen.width = std::clamp(numberFrom("COLUMNS").value_or(screen.width), NARROWEST, WIDEST);
  screen.lines = numberFrom("LINES").value_or(screen.lines);
  return screen;
}

}  // namespace agent::tools
