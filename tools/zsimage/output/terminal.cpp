#include "output/terminal.h"

#include <sys/ioctl.h>

#include <cstdlib>
#include <string_view>

namespace {

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the tool has one thread.
  return value == nullptr ? "" : value;
}

} // namespace

bool CanRewriteLines(int descriptor) {
  // Asked for every word of a table, so that the system is asked once.
  static const bool kOutputIsTerminal = isatty(STDOUT_FILENO) != 0;
  static const bool kErrorIsTerminal = isatty(STDERR_FILENO) != 0;
  const std::string_view terminal = Variable("TERM");
  return (descriptor == STDOUT_FILENO ? kOutputIsTerminal : kErrorIsTerminal) && !terminal.empty() &&
         terminal != "dumb";
}

std::size_t TerminalColumns(int descriptor) {
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : 80;
}

std::string Coloured(const std::string& text, Colour colour, int descriptor) {
  if (colour == Colour::None || text.empty() || !Variable("NO_COLOR").empty() || !CanRewriteLines(descriptor)) {
    return text;
  }
  static constexpr const char* kCodes[] = {"0", "1", "2", "31", "32", "33", "36", "35"};
  return std::string("\x1b[") + kCodes[static_cast<std::size_t>(colour)] + "m" + text + "\x1b[0m";
}
