/// @file
/// zsimage: shows, checks, converts and takes apart disc images.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>

#include "cli/command_line.h"
#include "output/failure.h"
#include "output/standard_output.h"

namespace {

/// What a full disk or a closed pipe took away shows when the buffer goes out, or did at an earlier write.
int FinishOutput(int status) {
  const int error = std::fflush(stdout) == 0 ? 0 : errno;
  if ((error == 0 && std::ferror(stdout) == 0) || status != 0) {
    return status;
  }
  return OutputFailure(error).Report();
}

} // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN); // A limit of file sizes becomes a failed write, which cleans up.
  try {
    return FinishOutput(CommandLine().Run(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zsimage: %s\n", error.what());
    return kExitFailure;
  }
}
