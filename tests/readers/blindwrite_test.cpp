#include "builders/bwt_builder.h"
#include "readers/bwt_records.h"
#include "readers/reader_checks.h"

namespace {

TEST(BlindWrite, RefusesEveryDescription) {
  const TemporaryFolder folder;
  std::vector<BYTE> otherCase = BwtFile(3);
  otherCase[0] = 'b';
  for (const std::vector<BYTE>& file : {BwtFile(3), otherCase, std::vector<BYTE>(18), std::vector<BYTE>(5000, 0xFF)}) {
    for (const char* name : {"a.bwt", "a.b5t"}) {
      ImageRecord record(folder.Write(name, file));
      EXPECT_EQ(ZSE_BADIMAGE, record.Result());
      EXPECT_TRUE(IsAllZero(*record));
    }
  }
}

TEST(BlindWrite, WalksToTheLastRecord) {
  for (const unsigned length : {0U, 3U, 255U}) {
    for (const int records : {1, 2, 40}) {
      std::vector<BYTE> file = BwtFile(records, length);
      const UHYPER whole = file.size();
      file.resize(file.size() + 500, 0xA2); // Behind the last record nothing is looked at.
      UHYPER end = 0;
      EXPECT_TRUE(FindBwtRecordsEnd(ByteView(file), &end));
      EXPECT_EQ(whole, end);
    }
  }
}

TEST(BlindWrite, StopsAtTheEndOfTheFile) {
  const std::vector<BYTE> file = BwtFile(2, 3);
  constexpr std::size_t kLastField = 7; // Its length byte must be there; what it counts is not looked at.
  for (std::size_t size = 0; size < file.size(); ++size) {
    UHYPER end = 1;
    const bool found = FindBwtRecordsEnd(ByteView(file.data(), size), &end);
    EXPECT_EQ(size > file.size() - kLastField, found) << size;
    EXPECT_EQ(found ? file.size() : 1, end) << size;
  }
}

} // namespace
