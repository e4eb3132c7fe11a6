#include "output/standard_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>

#include "output/failure.h"

namespace {

/// @param error errno of the write that failed; 0 if it is no longer known.
[[noreturn]] void ThrowWriteFailure(int error) {
  const std::string reason = error == 0 ? "" : fmt::format(": {}", std::strerror(error));
  throw Failure(kStandardOutput, "not all of the output could be written" + reason,
                error == ENOSPC ? HRESULT_FROM_WIN32(ERROR_DISK_FULL) : E_FAIL);
}

} // namespace

bool IsStandardOutput(std::string_view path) {
  return IsStandardStream(path) || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

void Print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    ThrowWriteFailure(errno);
  }
}

void WriteStandardOutput(const BYTE* data, std::size_t size) {
  if (isatty(STDOUT_FILENO) != 0) {
    throw Failure(kStandardOutput, "a terminal cannot show these bytes; redirect them to a file or a pipe",
                  E_INVALIDARG);
  }
  Print({reinterpret_cast<const char*>(data), size});
}

void FlushStandardOutput() {
  if (std::fflush(stdout) != 0) {
    ThrowWriteFailure(errno);
  } else if (std::ferror(stdout) != 0) {
    ThrowWriteFailure(0);
  }
}
