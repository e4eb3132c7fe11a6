#include "support/require.h"

#include <cstdio>
#include <cstdlib>

void fuzz::Require(bool holds, const char* what) noexcept {
  if (!holds) {
    std::fprintf(stderr, "must hold: %s\n", what);
    std::abort();
  }
}
