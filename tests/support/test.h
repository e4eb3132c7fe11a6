/// @file
/// What tests share: GoogleTest, objects and records of the component, folders, faults, and texts.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <set>
#include <tuple>

#include "disc/record_text.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"
#include "support/environment_variable.h"
#include "support/faulty_files.h"
#include "support/services.h"
#include "support/temporary_folder.h"

/// The names of the sample images: one of each kind and form of each format.
inline const std::vector<std::string> kSampleImages = {"plain.iso",    "mixed.cue",  "album.cue",  "bridge.cue",
                                                       "cdplus.nrg",   "tao.nrg",    "inline.mds", "dvd.mds",
                                                       "sessions.ccd", "native.zsi", "refused.bwt"};

/// Expects one result code of several calls.
template <class... Results> void ExpectAll(HRESULT expected, Results... results) {
  EXPECT_EQ(std::vector(sizeof...(results), expected), std::vector({results...}));
}

inline std::string AsText(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }

/// Repeats a piece `count` times. In each copy, `#` becomes the number of the copy from 0, and `@` the number from 1.
inline std::string Times(std::size_t count, const std::string& piece) {
  std::string text;
  text.reserve(count * piece.size());
  for (std::size_t i = 0; i < count; ++i) {
    for (const char c : piece) {
      if (c == '#' || c == '@') {
        text += std::to_string(c == '@' ? i + 1 : i);
      } else {
        text += c;
      }
    }
  }
  return text;
}
