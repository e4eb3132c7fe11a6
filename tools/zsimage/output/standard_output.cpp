#include "output/standard_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/last_error.h"

void WriteStandardOutput(const BYTE* data, std::size_t size) {
  if (isatty(STDOUT_FILENO) != 0) {
    throw Failure("standard output", "a terminal cannot show these bytes; send them to a file or a pipe", E_INVALIDARG);
  }
  Print({reinterpret_cast<const char*>(data), size});
}

void Print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    throw OutputFailure(errno);
  }
}

Failure OutputFailure(int error) {
  return Failure("standard output",
                 std::string("not all of the output could be written") +
                     (error == 0 ? "" : std::string(": ") + std::strerror(error)),
                 error == ENOSPC ? HRESULT_FROM_WIN32(ERROR_DISK_FULL) : E_FAIL);
}
