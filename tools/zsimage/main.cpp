/// @file
/// zsimage: shows, checks, converts and takes apart disc images.

#include <cstdio>
#include <exception>

#include "command_line.h"
#include "failure.h"

namespace {

/// What a full disk or a closed pipe took away shows when the buffer goes out.
int FinishOutput(int status) {
  if ((std::fflush(stdout) == 0 && std::ferror(stdout) == 0) || status != 0) {
    return status;
  }
  return Failure("standard output", "not all of the output could be written", E_FAIL).Report();
}

} // namespace

int main(int argc, char** argv) {
  try {
    return FinishOutput(CommandLine().Run(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zsimage: %s\n", error.what());
    return kExitFailure;
  }
}
