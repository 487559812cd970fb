#include "terminal/Pager.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent::tools {

namespace {

constexpr int NO_SUCH_COMMAND = 127;  // of a shell

/// @return false where there is no such pager, so that nobody has seen the text
bool throughPager(const std::string& text, const char* command) {
  // One that its user leaves early isn't read to the end.
  void (*const before)(int) = std::signal(SIGPIPE, SIG_IGN);
  FILE* const pager = sys.popen(command, "w");
  bool seen = false;
  if (pager != nullptr) {
    (void)std::fwrite(text.data(), 1, text.size(), pager);
    const int status = sys.pclose(pager);
    seen = status != -1 && !(WIFEXITED(status) && WEXITSTATUS(status) == NO_SUCH_COMMAND);
  }
  (void)std::signal(SIGPIPE, before);
  return seen;
}

}  // namespace

void showText(const std::string& text, std::ostream& out, size_t lines) {
  const auto length = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
  const char* const chosen = std::getenv("PAGER");
  const char* const command = chosen != nullptr && *chosen != '\0' ? chosen : "less -R";
  out.flush();
  if (lines > 0 && length >= lines && throughPager(text, command)) return;
  out << text << std::flush;
}

}  // namespace agent::tools
