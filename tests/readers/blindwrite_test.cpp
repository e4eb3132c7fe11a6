#include "builders/bwt_builder.h"
#include "readers/bwt_records.h"
#include "readers/reader_checks.h"

namespace {

TEST(BlindWrite, RefusesEveryDescription) {
  const TemporaryFolder folder;
  for (const char* name : {"a.bwt", "a.b5t"}) {
    EXPECT_EQ("ZSE_BADIMAGE", Outcome(folder.Write(name, BwtFile(3))));
  }
}

TEST(BlindWrite, WalksToTheLastRecordAsFarAsTheFileGoes) {
  for (const unsigned length : {0U, 3U, 255U}) {
    for (const int records : {1, 2, 5}) {
      std::vector<BYTE> file = BwtFile(records, length);
      const std::size_t whole = file.size();
      const std::size_t lastField = whole - length - 4; // Its length byte must be there; what it counts, need not.
      file.resize(whole + 500, 0xA2);                   // Behind the last record nothing is looked at.
      for (std::size_t size = 0; size <= file.size(); ++size) {
        UHYPER end = 1;
        EXPECT_EQ(size > lastField, FindBwtRecordsEnd(ByteView(file.data(), size), &end)) << size;
        EXPECT_EQ(size > lastField ? whole : 1, end) << size;
      }
    }
  }
}

} // namespace
