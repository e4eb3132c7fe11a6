/// @file
/// What must hold of a record whatever a file says.
#pragma once

#include <gtest/gtest.h>

#include "support/services.h"
#include "support/temporary_folder.h"

/// A record is complete or all zero.
inline void ExpectWholeOrEmpty(ImageRecord& record) {
  if (FAILED(record.Result())) {
    EXPECT_TRUE(IsAllZero(*record));
    return;
  }
  for (std::size_t session = 0; session < kMaxSessions; ++session) {
    const ZSCUESHEET* sheet = record->pZSCueSheet[session];
    ASSERT_EQ(session < record->nSessions, sheet != nullptr);
    for (UINT track = 0; sheet != nullptr && track < sheet->nTracks; ++track) {
      const bool hasIndexes = sheet->pZSTracks[track].pdwIndex != nullptr;
      EXPECT_EQ(sheet->pZSTracks[track].nCountIndex != 0, hasIndexes);
    }
  }
}

/// Reads a file under a name, with each of its lengths up to the whole.
template <class Content>
void ExpectNoCutHurts(const TemporaryFolder& folder, const std::string& name, const Content& content) {
  for (std::size_t size = 0; size <= content.size(); ++size) {
    SCOPED_TRACE(size);
    const Content part(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(size));
    ImageRecord record(folder.Write(name, part));
    ExpectWholeOrEmpty(record);
    EXPECT_TRUE(size < content.size() || record.Result() == S_OK) << std::hex << record.Result();
  }
}
