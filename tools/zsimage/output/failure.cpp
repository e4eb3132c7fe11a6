#include "output/failure.h"

#include <cstdio>

#include <fmt/format.h>

#include "output/terminal.h"
#include "output/terminal_text.h"

std::string MessageOf(const imagefile::Error& failure) {
  return fmt::format("{}{}{} ({})", TerminalText(failure.Path()), failure.Path().empty() ? "" : ": ", failure.Words(),
                     imagefile::CodeText(failure.Code()));
}

int Report(const imagefile::Error& failure) {
  const std::string prefix = Coloured("zsimage:", Colour::Red, STDERR_FILENO);
  std::fputs(fmt::format("{} {}\n", prefix, MessageOf(failure)).c_str(), stderr);
  return failure.Code() == kCancelled ? kExitCancelled : kExitFailure;
}

void Check(HRESULT code, std::string_view file, std::string_view words) {
  if (code != S_OK) {
    throw Failure(file, words.empty() ? MeaningOf(code).words : words, code == S_FALSE ? ZSE_FAILED : code);
  }
}

void Note(std::string_view words) { std::fputs(fmt::format("zsimage: note: {}.\n", words).c_str(), stderr); }
