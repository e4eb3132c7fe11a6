#include <gtest/gtest.h>

#include <sys/stat.h>

#include "disc/track_table.h"
#include "foundation/strings.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

constexpr HRESULT kBad = ZSE_BADIMAGE;

TEST(GetImageFileInfo, DescribesAPlainImage) {
  const TemporaryFolder folder;
  const std::string path = folder.WriteSparse("Disc.iSo", UHYPER{2048} * 2200000); // Above 4 GiB.
  ImageRecord record(path);
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ(std::vector<std::string>{"1: 0-2200000 pregap 0 mode 1 size 2048/2048 flags 0 index  at 0"},
            Describe(record.Sheet()));
  EXPECT_EQ(path, Narrow(record->bstrImageBinaryFile));
  EXPECT_EQ(0, LONG{record->lMask});
  EXPECT_TRUE(record->ZSImageFormat == ZSIMAGEFORMAT_ISO);
  EXPECT_TRUE(record->ZSTYPEPROJECT == ZSTYPEPROJECT_DATA);
  EXPECT_TRUE(record->ZSBlockSize == ZSFILEBLOCKSIZE_2048);
  EXPECT_EQ(1, USHORT{record->nSessions});
  EXPECT_EQ(~UHYPER{0}, UHYPER{record->dwSeekEnd64});
  EXPECT_EQ(0U, ULONG{record->dwDiscID});
}

TEST(GetImageFileInfo, RefusesAndLeavesTheRecordEmpty) {
  const TemporaryFolder folder;
  folder.WriteSparse("odd.iso", 99999);
  folder.Write("bare.BIN", "x");
  folder.Write("wrong.AISO", "x");
  folder.Write("sheet.cue", "FILE \"none.bin\" BINARY\nTRACK 01 AUDIO\n");
  folder.Write("tracks/none.cue", "FILE \"none.bin\" BINARY\n");
  folder.WriteSparse("tracks/none.bin", 2352);
  folder.Write("folder.cue/x", "x");
  ASSERT_EQ(0, ::mkfifo(folder.Path("fifo.nrg").c_str(), 0600));
  std::string noise;
  for (int i = 0; i < 5000; ++i) {
    noise.push_back(static_cast<char>(i * 7919 >> 3));
  }
  for (const char* name : {"noise.iso", "noise.cue", "noise.nrg", "noise.ccd", "noise.bwt", "noise.b5t"}) {
    folder.Write(name, noise);
  }
  const struct {
    const char* name;
    HRESULT result;
  } kCases[] = {
      {"missing.bin", ZSE_CANNOTOPENIMAGE},
      {"bare.BIN", kBad},
      {"wrong.AISO", kBad},
      {"odd.iso", kBad},
      {"sheet.cue", ZSE_FILENOTFOUND},
      {"tracks/none.cue", ZSE_FAILED},
      {"folder.cue", ZSE_CANNOTOPENIMAGE},
      {"fifo.nrg", ZSE_CANNOTOPENIMAGE},
      {"noise.iso", kBad},
      {"noise.cue", ZSE_FAILED},
      {"noise.nrg", kBad},
      {"noise.ccd", kBad},
      {"noise.bwt", kBad},
      {"noise.b5t", kBad},
  };
  for (const auto& test : kCases) {
    ImageRecord record;
    (*record).lMask = 7;
    EXPECT_EQ(test.result, record.Read(folder.Path(test.name))) << test.name;
    EXPECT_TRUE(IsAllZero(*record)) << test.name;
  }
  ImageRecord record;
  EXPECT_EQ(ZSE_CANNOTOPENIMAGE, NewImageFileService()->GetImageFileInfo(nullptr, &*record));
}

/// A sector that holds a primary volume descriptor with a system identifier, as it lies in a file of a kind.
std::string Descriptor(std::string_view system, std::size_t before, std::size_t sectorSize) {
  std::string sector(before, '\0');
  sector.append("\1CD001\1").append(1, '\0').append(system);
  sector.resize(sectorSize);
  return sector;
}

struct CueCase {
  const char* what;
  const char* tracks;
  std::size_t sectorSize;
  std::string sixteenth;
  std::string middle; ///< Bytes at the start of sector 60, in the middle of a second track from 40 to 80.
  ::ZSTYPEPROJECT type;
  int blockSize;
  int subCount;
};

TEST(CueImage, IsClassifiedByItsTracksAndDescriptor) {
  constexpr char kBridge[] = "CD-RTOS CD-BRIDGE";
  const std::string sync("\0\xFF\xFF\xFF", 4);
  const CueCase kCases[] = {
      {"audio", "TRACK 1 AUDIO\nINDEX 1 0:0:0\n", 2352, "", "", ZSTYPEPROJECT_CDAUDIO, 0, 0},
      {"data", "TRACK 1 MODE1/2352\nINDEX 1 0:0:0\n", 2352, "", "", ZSTYPEPROJECT_DATA, 2352, 16},
      {"mixed", "TRACK 1 AUDIO\nINDEX 1 0:0:0\nTRACK 2 MODE2/2352\nINDEX 1 0:0:40\n", 2352, "", "", ZSTYPEPROJECT_MIXED,
       2352, 24},
      {"video by its descriptor", "TRACK 1 MODE2/2352\nINDEX 1 0:0:0\nTRACK 2 MODE1/2352\nINDEX 1 0:0:40\n", 2352,
       Descriptor(kBridge, 24, 2352), "", ZSTYPEPROJECT_VIDEO, 2352, 24},
      {"one track is no video disc", "TRACK 1 MODE2/2352\nINDEX 1 0:0:0\n", 2352, Descriptor(kBridge, 24, 2352), "",
       ZSTYPEPROJECT_DATA, 2352, 24},
      {"video by the sub-mode of the second track",
       "TRACK 1 MODE2/2336\nINDEX 1 0:0:0\nTRACK 2 MODE2/2336\nINDEX 1 0:0:40\n", 2336, Descriptor("OTHER", 8, 2336),
       std::string("\0\0\2\0", 4), ZSTYPEPROJECT_VIDEO, 2336, 8},
      {"no video by the sub-mode of the second track",
       "TRACK 1 MODE2/2336\nINDEX 1 0:0:0\nTRACK 2 MODE2/2336\nINDEX 1 0:0:40\n", 2336, Descriptor("OTHER", 8, 2336),
       std::string("\2\2\xFD\2", 4), ZSTYPEPROJECT_DATA, 2336, 8},
      {"a raw second track shows its sync bytes",
       "TRACK 1 MODE1/2352\nINDEX 1 0:0:0\nTRACK 2 MODE2/2352\nINDEX 1 0:0:40\n", 2352, Descriptor("OTHER", 16, 2352),
       sync, ZSTYPEPROJECT_VIDEO, 2352, 16},
      {"without a descriptor nothing is sampled",
       "TRACK 1 MODE2/2336\nINDEX 1 0:0:0\nTRACK 2 MODE2/2336\nINDEX 1 0:0:40\n", 2336, "", std::string("\0\0\2\0", 4),
       ZSTYPEPROJECT_DATA, 2336, 8},
      {"a second track that is not first data", "TRACK 1 AUDIO\nINDEX 1 0:0:0\nTRACK 2 MODE2/2352\nINDEX 1 0:0:40\n",
       2352, Descriptor("OTHER", 24, 2352), sync, ZSTYPEPROJECT_MIXED, 2352, 24},
  };
  for (const CueCase& test : kCases) {
    std::string data(80 * test.sectorSize, '\0');
    data.replace(16 * test.sectorSize, test.sixteenth.size(), test.sixteenth);
    data.replace(60 * test.sectorSize, test.middle.size(), test.middle);
    const TemporaryFolder folder;
    folder.Write("data.bin", data);
    ImageRecord record(folder.Write("disc.cue", std::string("FILE \"data.bin\" BINARY\n") + test.tracks));
    ASSERT_EQ(S_OK, record.Result()) << test.what;
    EXPECT_TRUE(test.type == record->ZSTYPEPROJECT) << test.what;
    EXPECT_EQ(test.blockSize, int{record->ZSBlockSize}) << test.what;
    EXPECT_EQ(test.subCount, USHORT{record->nSubCount}) << test.what;
  }
}

TEST(CueImage, NamesItsDataFileAndCompanions) {
  const TemporaryFolder folder;
  folder.WriteSparse("Data File.bin", UHYPER{27000} * 2352);
  folder.Write("DISC.sub", "x");
  const std::string path =
      folder.Write("disc.cue", "FILE \"Data File.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\n"
                               "INDEX 00 03:00:00\nINDEX 01 03:02:00\n");
  ImageRecord record(path);
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ(folder.Path("DATA FILE.BIN"), Narrow(record->bstrImageBinaryFile));
  EXPECT_EQ(ZSIMAGEMASK_SUBCHANNEL, LONG{record->lMask});
  EXPECT_EQ(0x0D016802U, ULONG{record->dwDiscID});
  EXPECT_EQ(~UHYPER{0}, UHYPER{record->dwSeekEnd64});
}

class ImageFile : public testing::Test {
protected:
  ComPtr<IZSImageFile> m_service = NewImageFileService();
  TemporaryFolder m_folder;
};

TEST_F(ImageFile, TakesRecordsAtAnyAddressAndFreesTheirSessionsAlone) {
  const UniqueBstr path = Wide(m_folder.WriteSparse("a.iso", 2048));
  BYTE storage[2 * sizeof(zsimagefileinfo) + 1];
  auto* record = reinterpret_cast<zsimagefileinfo*>(storage + 1);
  zsimagefileinfo* copy = record + 1;
  ASSERT_EQ(S_OK, m_service->GetImageFileInfo(path.get(), record));
  ASSERT_EQ(S_OK, m_service->Clone(record, copy));
  EXPECT_EQ(Describe(*record->pZSCueSheet[0]), Describe(*copy->pZSCueSheet[0]));
  TestSheet other;
  copy->pZSCueSheet[1] = other.Get(); // Behind the record's sessions, so not its own.
  EXPECT_EQ(S_OK, m_service->FreeImageFileInfo(copy));
  EXPECT_EQ(0U, UINT{other->nTracks});
  EXPECT_EQ(S_OK, m_service->FreeImageFileInfo(record));
  EXPECT_TRUE(IsAllZero(*record) && IsAllZero(*copy));
}

TEST_F(ImageFile, ClonesARecordWithoutSessions) {
  zsimagefileinfo info{};
  info.lReserved = 5;
  info.bstrImageBinaryFile = NewBstr("path");
  zsimagefileinfo copy{};
  EXPECT_EQ(S_OK, m_service->Clone(&info, &copy));
  EXPECT_EQ(5, LONG{copy.lReserved});
  EXPECT_EQ("path", Narrow(copy.bstrImageBinaryFile));
  m_service->FreeImageFileInfo(&info);
  m_service->FreeImageFileInfo(&copy);
}

TEST_F(ImageFile, WritesOnlyTheFormatsThatItKnows) {
  zsimagefileinfo info{};
  const UniqueBstr path = Wide(m_folder.Path("out.cue"));
  EXPECT_EQ(E_INVALIDARG, m_service->CreateTOCFile(nullptr, &info, nullptr, 0, nullptr, 0));
  EXPECT_EQ(E_INVALIDARG, m_service->CreateTOCFile(path.get(), nullptr, nullptr, 0, nullptr, 0));
  for (const zsimgformat format :
       {ZSIMAGEFORMAT_ISO, ZSIMAGEFORMAT_BIN, ZSIMAGEFORMAT_NRG, ZSIMAGEFORMAT_CCD, ZSIMAGEFORMAT_MDS}) {
    info.ZSImageFormat = format;
    EXPECT_EQ(ZSE_FAILED, m_service->CreateTOCFile(path.get(), &info, nullptr, 0, nullptr, 0));
  }
  info.ZSImageFormat = ZSIMAGEFORMAT_CUE;
  EXPECT_EQ(S_FALSE, m_service->CreateTOCFile(path.get(), &info, nullptr, 0, nullptr, 0));
  info.ZSImageFormat = ZSIMAGEFORMAT_ZSI;
  EXPECT_EQ(ZSE_FAILED, m_service->CreateTOCFile(path.get(), &info, nullptr, 0, nullptr, 0));
  EXPECT_EQ("", m_folder.Read("out.cue"));
}

TEST_F(ImageFile, StoresTheCallbackAndTakesNullsForErrors) {
  VARIANT text{};
  text.vt = VT_BSTR;
  text.bstrVal = NewBstr("value");
  EXPECT_EQ(S_OK, m_service->SetCallBack(nullptr, 1, text));
  VariantClear(&text);
  text.vt = 999;
  EXPECT_EQ(S_OK, m_service->SetCallBack(nullptr, 2, text)) << "a value that cannot be copied is no error";
  EXPECT_EQ(S_OK, m_service->Open(nullptr, nullptr));
  EXPECT_EQ(E_INVALIDARG, m_service->Clone(nullptr, nullptr));
  EXPECT_EQ(E_INVALIDARG, m_service->FreeImageFileInfo(nullptr));
  EXPECT_EQ(E_INVALIDARG, m_service->CalculateDiscID(nullptr));
  EXPECT_EQ(E_INVALIDARG, m_service->GetPositionFromLBA(nullptr, 0, nullptr, nullptr));
}

} // namespace
