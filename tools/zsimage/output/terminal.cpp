#include "output/terminal.h"

#include <sys/ioctl.h>

#include <cstdlib>
#include <string_view>

#include <fmt/format.h>

namespace {

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the tool has one thread.
  return value == nullptr ? "" : value;
}

bool IsCapableTerminal(int descriptor) {
  return isatty(descriptor) != 0 && !Variable("TERM").empty() && Variable("TERM") != "dumb";
}

} // namespace

bool CanRewriteLines(int descriptor) {
  // Tables call this for each of their cells, so the result is stored.
  static const bool kOutput = IsCapableTerminal(STDOUT_FILENO);
  static const bool kError = IsCapableTerminal(STDERR_FILENO);
  return descriptor == STDOUT_FILENO ? kOutput : kError;
}

std::size_t TerminalColumns(int descriptor) {
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : 80;
}

std::string Coloured(const std::string& text, Colour colour, int descriptor) {
  if (colour == Colour::None || text.empty() || !CanRewriteLines(descriptor) || !Variable("NO_COLOR").empty()) {
    return text;
  }
  return fmt::format("\x1b[{}m{}\x1b[0m", static_cast<int>(colour), text);
}
