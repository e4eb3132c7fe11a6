/// @file
/// Entry point of a fuzzer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/checks.h"
#include "support/run.h"

/// Begins the function that runs for each input. `input` is the name of its parameter, a view of the bytes.
#define FUZZ(input)                                                                                                    \
  static void FuzzOne(std::string_view input);                                                                         \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {                                  \
    FuzzOne({reinterpret_cast<const char*>(data), size});                                                              \
    return 0;                                                                                                          \
  }                                                                                                                    \
  static void FuzzOne(std::string_view input)
