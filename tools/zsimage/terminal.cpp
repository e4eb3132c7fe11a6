#include "terminal.h"

#include <cstdlib>
#include <string_view>

namespace {

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the tool has one thread.
  return value == nullptr ? "" : value;
}

const char* CodeOf(Colour colour) {
  switch (colour) {
  case Colour::Bold:
    return "1";
  case Colour::Dim:
    return "2";
  case Colour::Red:
    return "31";
  case Colour::Green:
    return "32";
  case Colour::Yellow:
    return "33";
  case Colour::Magenta:
    return "35";
  case Colour::Cyan:
    return "36";
  default:
    return "0";
  }
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

std::string Coloured(const std::string& text, Colour colour, int descriptor) {
  if (colour == Colour::None || text.empty() || !Variable("NO_COLOR").empty() || !CanRewriteLines(descriptor)) {
    return text;
  }
  return std::string("\x1b[") + CodeOf(colour) + "m" + text + "\x1b[0m";
}
