#include "builders/bwt_builder.h"
#include "readers/bwt_records.h"
#include "readers/reader_checks.h"

namespace {

TEST(BlindWrite, DescriptionsAreRefused) {
  EXPECT_EQ("ZSE_BADIMAGE", ReadSummary("a.bwt", BwtFile(3)));
  EXPECT_EQ("ZSE_BADIMAGE", ReadSummary("a.b5t", BwtFile(3)));
}

TEST(BlindWrite, RecordsEndAfterTheLengthOfTheLastField) {
  for (const unsigned length : {0U, 3U, 255U}) {
    for (const int records : {1, 2, 5}) {
      std::vector<BYTE> file = BwtFile(records, length);
      const std::size_t end = file.size();
      const std::size_t lastField = end - length - 4; // Its length byte is needed, its bytes are not.
      file.resize(end + 500, 0xA2);                   // Bytes after the last record are not read.
      for (std::size_t size = 0; size <= file.size(); ++size) {
        UHYPER found = 1;
        EXPECT_EQ(size > lastField, FindBwtRecordsEnd(ByteView(file.data(), size), &found)) << size;
        EXPECT_EQ(size > lastField ? end : 1, found) << size;
      }
    }
  }
}

} // namespace
