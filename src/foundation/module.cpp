#include "foundation/module.h"

ModuleLocks& Module() noexcept {
  static ModuleLocks module;
  return module;
}
