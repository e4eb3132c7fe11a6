#include <sys/stat.h>

#include "disc/classify.h"
#include "support/test.h"

namespace {

class ImageFile : public testing::Test {
protected:
  const ComPtr<IZSImageFile> service = NewImageFileService();
  const TemporaryFolder folder;
};

TEST_F(ImageFile, PlainImageIsOneDataTrack) {
  const std::string path = folder.WriteSparse("Disc.iSo", UHYPER{2048} * 2200000); // Above 4 GiB.
  ImageRecord record(path);
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ("1: 0-2200000 mode 1 size 2048/2048", Describe(record.Track(0)));
  EXPECT_EQ(path, Narrow(record->bstrImageBinaryFile));
  EXPECT_EQ(0, LONG{record->lMask});
  EXPECT_TRUE(record->ZSImageFormat == ZSIMAGEFORMAT_ISO);
  EXPECT_TRUE(record->ZSTYPEPROJECT == ZSTYPEPROJECT_DATA);
  EXPECT_TRUE(record->ZSBlockSize == ZSFILEBLOCKSIZE_2048);
  EXPECT_EQ(1, USHORT{record->nSessions});
  EXPECT_EQ(~UHYPER{0}, UHYPER{record->dwSeekEnd64});
  EXPECT_EQ(0U, ULONG{record->dwDiscID});
}

TEST_F(ImageFile, FailuresLeaveTheRecordEmpty) {
  folder.Write("wrong.AISO", "x");
  folder.Write("folder.cue/x", "x");
  folder.WriteSparse(".iso", 2048);
  folder.WriteSparse("x", 2048);
  folder.Write("tracks/none.cue", "FILE \"none.bin\" BINARY\n");
  folder.WriteSparse("tracks/none.bin", 2352);
  ASSERT_EQ(0, ::mkfifo(folder.Path("fifo.nrg").c_str(), 0600));
  const std::tuple<std::string, HRESULT> kCases[] = {
      {"", ZSE_CANNOTOPENIMAGE},
      {"folder.cue", ZSE_CANNOTOPENIMAGE},
      {"fifo.nrg", ZSE_CANNOTOPENIMAGE},
      {"wrong.AISO", ZSE_BADIMAGE},
      {".iso", ZSE_BADIMAGE}, // An extension without a name, and a name without an extension.
      {"x", ZSE_BADIMAGE},
      {"tracks/none.cue", ZSE_FAILED},
  };
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path(""));
  for (const auto& [name, result] : kCases) {
    zsimagefileinfo info{};
    info.lMask = 7;
    EXPECT_EQ(result, service->GetImageFileInfo(Wide(name).get(), &info)) << name;
    EXPECT_TRUE(IsAllZero(info)) << name;
  }
  std::filesystem::current_path(before);
}

TEST_F(ImageFile, NamesAreNotPatterns) {
  const std::string bytes(2352 * 20, '\0');
  folder.Write("TRACK1.BIN", bytes);
  EXPECT_EQ(ZSE_CANNOTOPENIMAGE, ImageRecord(folder.Write("a.cue", "FILE \"*.BIN\" BINARY\nTRACK 1 AUDIO\n")).Result());
  const std::string sheet = "FILE \"track1.bin\" BINARY\nTRACK 1 AUDIO\nINDEX 1 0:0:0\n";
  std::filesystem::create_symlink("loop.SUB", folder.Path("loop.SUB"));
  std::filesystem::create_symlink("loop.MDF", folder.Path("loop.MDF"));
  const std::string longest = std::string(251, 'x') + ".cue"; // A companion needs a longer name than a file can have.
  for (const std::string& name : {std::string("loop.cue"), longest}) {
    ImageRecord record(folder.Write(name, sheet));
    EXPECT_EQ(S_OK, record.Result());
    EXPECT_EQ(0, LONG{record->lMask}) << name;
  }
  EXPECT_EQ(ZSE_FILENOTFOUND, ImageRecord(folder.Write("loop.mds", "MEDIA DESCRIPTOR\1\3")).Result());
}

/// Returns the fields of a primary volume descriptor that classification reads, after `before` bytes of a raw sector.
std::string Descriptor(std::size_t before, const std::string& system) {
  return std::string(before, '\0') + "\1CD001\1" + '\0' + system;
}

TEST_F(ImageFile, ModesAndDescriptorDecideTheProject) {
  const std::string video("\0\0\2\0", 4); // Sub-modes at the start of sector 60.
  const std::string noVideo = "\2\2\xFD\2";
  const std::string sync("\0\xFF\xFF\xFF", 4);
  // Modes of tracks at 0 and 40, sectors 16 and 60, expected project and offset of the data.
  const std::tuple<std::string, std::string, std::string, std::string, ::ZSTYPEPROJECT, int> kCases[] = {
      {"AUDIO", "AUDIO", "", "", ZSTYPEPROJECT_CDAUDIO, 0},
      {"MODE2/2352", "MODE1/2352", Descriptor(24, "CD-RTOS CD-BRIDGE"), "", ZSTYPEPROJECT_VIDEO, 24},
      {"MODE2/2336", "MODE2/2336", Descriptor(8, "OTHER"), video, ZSTYPEPROJECT_VIDEO, 8},
      {"MODE2/2336", "MODE2/2336", Descriptor(8, "OTHER"), noVideo, ZSTYPEPROJECT_DATA, 8},
      {"MODE1/2352", "MODE2/2352", Descriptor(16, "OTHER"), sync, ZSTYPEPROJECT_VIDEO, 16},
      {"MODE2/2336", "MODE2/2336", "", video, ZSTYPEPROJECT_DATA, 8}, // Sub-modes are not read without a descriptor.
      {"AUDIO", "MODE2/2352", Descriptor(24, "OTHER"), sync, ZSTYPEPROJECT_MIXED, 24},
  };
  folder.Write("DISC.sub", "x");
  for (const auto& [first, second, sixteenth, sixtieth, type, subCount] : kCases) {
    SCOPED_TRACE(first + ' ' + second + ' ' + sixteenth);
    const int sectorSize = first == "MODE2/2336" ? 2336 : 2352;
    std::string data(static_cast<std::size_t>(80 * sectorSize), '\0');
    data.replace(static_cast<std::size_t>(16 * sectorSize), sixteenth.size(), sixteenth);
    data.replace(static_cast<std::size_t>(60 * sectorSize), sixtieth.size(), sixtieth);
    folder.Write("data.bin", data);
    ImageRecord record(folder.Write("disc.cue", "FILE \"data.bin\" BINARY\nTRACK 1 " + first +
                                                    "\nINDEX 1 0:0:0\nTRACK 2 " + second + "\nINDEX 1 0:0:40\n"));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_TRUE(type == record->ZSTYPEPROJECT);
    EXPECT_EQ(subCount == 0 ? 0 : sectorSize, int{record->ZSBlockSize});
    EXPECT_EQ(subCount, USHORT{record->nSubCount});
    EXPECT_EQ(folder.Path("DATA.BIN"), Narrow(record->bstrImageBinaryFile));
    EXPECT_EQ(ZSIMAGEMASK_SUBCHANNEL, LONG{record->lMask});
  }
}

/// A sheet is classified by the start of sector 16, other images only by a whole one.
TEST_F(ImageFile, OnlySheetsUseACutSector) {
  std::string data(2336 * 16, '\0');
  data += Descriptor(8, "CD-RTOS CD-BRIDGE");
  data.resize(2048 * 19); // In the middle of sector 16.
  folder.Write("data.bin", data);
  EXPECT_EQ(ZSTYPEPROJECT_VIDEO,
            +ImageRecord(folder.Write("disc.cue", "FILE \"data.bin\" BINARY\nTRACK 1 MODE2/2336\nINDEX 1 0:0:0\n"
                                                  "TRACK 2 MODE2/2336\nINDEX 1 0:0:9\n"))
                 ->ZSTYPEPROJECT);
  zsimagefileinfo info{};
  TestSheet sheet;
  for (const ULONG start : {0U, 9U}) {
    ZSTRACK* track = AppendTrack(sheet.Get(), start, start + 9, 0, 2336);
    track->Mode = ZSMODE_2;
  }
  info.nSessions = 1;
  info.pZSCueSheet[0] = sheet.Get();
  EXPECT_EQ(S_OK, ClassifyImage(folder.Path("data.bin"), &info));
  EXPECT_EQ(ZSTYPEPROJECT_DATA, +info.ZSTYPEPROJECT);
}

TEST_F(ImageFile, RecordsMayHaveAnyAddress) {
  BYTE storage[2 * sizeof(zsimagefileinfo) + 1];
  auto* record = reinterpret_cast<zsimagefileinfo*>(storage + 1);
  zsimagefileinfo* copy = record + 1;
  ASSERT_EQ(S_OK, service->GetImageFileInfo(Wide(folder.WriteSparse("a.iso", 2048)).get(), record));
  TestSheet other;
  record->pZSCueSheet[1] = other.Get(); // Past nSessions, so not owned by the record.
  ASSERT_EQ(S_OK, service->Clone(record, copy));
  EXPECT_EQ(nullptr, copy->pZSCueSheet[1]);
  EXPECT_EQ(Describe(*record->pZSCueSheet[0]), Describe(*copy->pZSCueSheet[0]));
  EXPECT_EQ(Narrow(record->bstrImageBinaryFile), Narrow(copy->bstrImageBinaryFile));
  EXPECT_EQ(S_OK, service->FreeImageFileInfo(copy));
  EXPECT_EQ(S_OK, service->FreeImageFileInfo(record));
  EXPECT_EQ(0U, UINT{other->nTracks});
  EXPECT_TRUE(IsAllZero(*record) && IsAllZero(*copy));
  record->lReserved = 5; // Copied without a session, too.
  EXPECT_EQ(S_OK, service->Clone(record, copy));
  EXPECT_EQ(5, LONG{copy->lReserved});
}

TEST_F(ImageFile, BadArgumentsAreRefused) {
  zsimagefileinfo info{};
  const UniqueBstr path = Wide(folder.Path("out.cue"));
  const auto write = [&](BSTR name, zsimagefileinfo* record) {
    return service->CreateTOCFile(name, record, nullptr, 0, nullptr, 0);
  };
  for (const zsimgformat format : {ZSIMAGEFORMAT_ISO, ZSIMAGEFORMAT_BIN, ZSIMAGEFORMAT_NRG, ZSIMAGEFORMAT_CCD,
                                   ZSIMAGEFORMAT_MDS, ZSIMAGEFORMAT_ZSI, ZSIMAGEFORMAT_CUE}) {
    info.ZSImageFormat = format; // The formats that can be written need a session.
    EXPECT_EQ(format == ZSIMAGEFORMAT_CUE ? S_FALSE : ZSE_FAILED, write(path.get(), &info)) << format;
  }
  EXPECT_EQ("", folder.Read("out.cue"));
  zsimagefileinfo copy{};
  UHYPER seek = 0;
  ExpectAll(E_INVALIDARG, write(nullptr, &info), write(path.get(), nullptr), service->Clone(nullptr, &info),
            service->Clone(&info, nullptr), service->Clone(&info, &info), service->FreeImageFileInfo(nullptr),
            service->CalculateDiscID(nullptr), service->GetPositionFromLBA(nullptr, 0, &seek, nullptr));
  info.nSessions = 1; // Without its sheet. See "code of copies" in docs/compatibility.md.
  EXPECT_EQ(ZSE_OUTOFRESOURCES, service->Clone(&info, &copy));
  info.nSessions = 100; // More than pZSCueSheet holds.
  EXPECT_EQ(E_INVALIDARG, service->Clone(&info, &copy));
  EXPECT_EQ(E_INVALIDARG, service->GetPositionFromLBA(&info, 0, &seek, nullptr));
  VARIANT odd{};
  odd.vt = 999;
  EXPECT_EQ(S_OK, service->SetCallBack(nullptr, 2, odd)) << "a value that cannot be copied is no error";
  EXPECT_EQ(S_OK, service->Open(nullptr, nullptr));
}

} // namespace
