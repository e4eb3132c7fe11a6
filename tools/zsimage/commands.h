/// @file
/// The commands of the tool. Each answers the exit status, or throws a Failure. Paths are narrow text.
#pragma once

#include <optional>
#include <string>

#include "platform/base_types.h"

struct InfoOptions {
  std::string path;
  bool json = false;
};
int RunInfo(const InfoOptions& options);

struct PositionOptions {
  std::string path;
  ULONG lba = 0;
  bool json = false;
};
int RunPosition(const PositionOptions& options);
