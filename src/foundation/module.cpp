#include "foundation/module.h"

CZSModule& Module() noexcept {
  static CZSModule module;
  return module;
}
