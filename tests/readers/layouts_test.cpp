// Discs of every layout through every format: classification, positions and the bytes of the tracks.

#include <functional>

#include "builders/bwt_builder.h"
#include "builders/ccd_builder.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "disc/positions.h"
#include "readers/reader_checks.h"
#include "support/counting_environment.h"

namespace {

struct Layout {
  const char* name;
  DiscPlan disc;
  ::ZSTYPEPROJECT type;
  int subCount;
};

const PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
const PlannedTrack kAudioBehindPregap{ZSMODE_AUDIO, 25, 3, 2352};
const PlannedTrack kMode1{ZSMODE_1, 24, 0, 2352};
const PlannedTrack kMode2{ZSMODE_2, 24, 0, 2352};

const Layout kLayouts[] = {
    {"audio", {{{kAudio, kAudioBehindPregap}}}, ZSTYPEPROJECT_CDAUDIO, 0},
    {"data of mode 1", {{{kMode1}}}, ZSTYPEPROJECT_DATA, 16},
    {"data of mode 2", {{{kMode2}}}, ZSTYPEPROJECT_DATA, 24},
    {"mixed", {{{kMode1, kAudioBehindPregap, kAudio}}}, ZSTYPEPROJECT_MIXED, 16},
    {"audio in two sessions", {{{kAudio}, {kAudio}}}, ZSTYPEPROJECT_CDAUDIO, 0},
    {"CD Plus", {{{kAudio, kAudioBehindPregap}, {kMode2}}}, ZSTYPEPROJECT_CDPLUS, 24},
    {"mixed, then data", {{{kMode1, kAudio}, {kMode1}}}, ZSTYPEPROJECT_MIXED, 16},
    {"data in two sessions", {{{kMode1}, {kMode1}}}, ZSTYPEPROJECT_DATAMULTISESSION, 16},
    {"three sessions", {{{kAudio}, {kMode2}, {kAudio}}}, ZSTYPEPROJECT_DATAMULTISESSION, 24},
    {"video", {{{kMode2, kMode2}}, "CD-RTOS CD-BRIDGE"}, ZSTYPEPROJECT_VIDEO, 24},
    {"one track with the mark of video", {{{kMode2}}, "CD-RTOS CD-BRIDGE"}, ZSTYPEPROJECT_DATA, 24},
    {"without a volume descriptor", {{{kMode1, kMode2}}, ""}, ZSTYPEPROJECT_DATA, 24},
};

struct Format {
  const char* name;
  zsimgformat format;
  std::function<std::string(const TemporaryFolder&, const DiscPlan&)> write;
  const char* sectorFile;
};

const Format kFormats[] = {
    {"NRG", ZSIMAGEFORMAT_NRG,
     [](const TemporaryFolder& folder, const DiscPlan& disc) { return folder.Write("disc.nrg", NrgImage(disc)); },
     "disc.nrg"},
    {"CCD", ZSIMAGEFORMAT_CCD,
     [](const TemporaryFolder& folder, const DiscPlan& disc) {
       folder.Write("disc.img", DiscSectors(disc));
       return folder.Write("disc.ccd", CcdText(disc));
     },
     "disc.IMG"},
    {"MDS", ZSIMAGEFORMAT_MDS,
     [](const TemporaryFolder& folder, const DiscPlan& disc) {
       folder.Write("disc.mdf", DiscSectors(disc));
       return folder.Write("disc.mds", MdsOf(disc).Build());
     },
     "disc.MDF"},
};

/// The whole of a stream.
std::vector<BYTE> ReadStream(IStream* stream) {
  std::vector<BYTE> bytes;
  std::vector<BYTE> part(10000);
  for (HRESULT result = S_OK; result == S_OK;) {
    ULONG came = 0;
    result = stream->Read(part.data(), static_cast<ULONG>(part.size()), &came);
    bytes.insert(bytes.end(), part.begin(), part.begin() + came);
  }
  return bytes;
}

/// Sectors of the first session stand in the image where the disc has them.
void ExpectBytes(ImageRecord& record, const DiscPlan& disc, const PlacedTrack& placed) {
  std::vector<BYTE> expected = TrackSectors(disc, placed);
  expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(placed.pregap * placed.size));
  ComPtr<IStream> stream;
  ZSTRACK* track = &record.Track(placed.number - 1);
  ASSERT_EQ(S_OK, NewCueSheetService()->ExtractTrackToStream(record->bstrImageBinaryFile, nullptr, &*record, track, 0,
                                                             nullptr, 0, VARIANT{}, stream.Receive()));
  EXPECT_TRUE(expected == ReadStream(stream.Get()));
}

void ExpectTracks(ImageRecord& record, const DiscPlan& disc) {
  for (const PlacedTrack& placed : PlaceTracks(disc)) {
    SCOPED_TRACE("track " + std::to_string(placed.number));
    UINT place = placed.number - 1;
    for (UINT session = 0; session < placed.session; ++session) {
      place -= record.Sheet(session).nTracks;
    }
    ASSERT_LT(place, record.Sheet(placed.session).nTracks);
    const ZSTRACK& track = record.Track(place, placed.session);
    EXPECT_EQ(place + 1, UINT{track.TNO});
    EXPECT_EQ(placed.start, ULONG{track.dwLBA});
    EXPECT_EQ(placed.end, ULONG{track.dwEndLBA});
    EXPECT_EQ(static_cast<LONG>(placed.pregap), LONG{track.Pregap});
    EXPECT_EQ(placed.mode, ZSMODETYPE{track.Mode});
    EXPECT_EQ(placed.size, static_cast<ULONG>(track.BlockSize));
    EXPECT_EQ(placed.size, static_cast<ULONG>(track.ImageBlockSize));
    if (placed.session == 0) {
      ExpectBytes(record, disc, placed);
    }
  }
}

TEST(Layouts, AreKnownInEveryFormat) {
  for (const Format& format : kFormats) {
    for (const Layout& layout : kLayouts) {
      SCOPED_TRACE(std::string(format.name) + ", " + layout.name);
      const TemporaryFolder folder;
      ImageRecord record(format.write(folder, layout.disc));
      ASSERT_EQ(S_OK, record.Result());
      ExpectWholeOrEmpty(record);
      EXPECT_EQ(format.format, zsimgformat{record->ZSImageFormat});
      EXPECT_EQ(folder.Path(format.sectorFile), Narrow(record->bstrImageBinaryFile));
      EXPECT_EQ(layout.type, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
      EXPECT_EQ(layout.subCount, record->nSubCount);
      EXPECT_EQ(2352, int{record->ZSBlockSize});
      ASSERT_EQ(layout.disc.sessions.size(), record->nSessions);
      EXPECT_NE(0U, ULONG{record->dwDiscID});
      EXPECT_EQ(layout.disc.sessions.size() > 1 && layout.disc.sessions[0].size() > 1, record->dwDiscID2 != 0);
      ExpectTracks(record, layout.disc);
    }
  }
}

TEST(Layouts, AnswerEachBlockOfMemoryThatIsNotThere) {
  const TemporaryFolder folder;
  const DiscPlan disc{{{kAudio, kAudio}}};
  struct {
    std::string path;
    std::vector<HRESULT> results; ///< With each block in turn.
  } const cases[] = {
      // The chunks, the sheet, its tracks, two indexes for each of them, the path.
      {kFormats[0].write(folder, disc),
       {E_OUTOFMEMORY, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY, S_OK, S_OK, S_OK, S_OK, ZSE_BADIMAGE}},
      // The sheet, each track, the path.
      {kFormats[1].write(folder, disc), {ZSE_OUTOFRESOURCES, E_OUTOFMEMORY, E_OUTOFMEMORY, ZSE_BADIMAGE}},
      // The description, the sheet, its tracks, the path.
      {kFormats[2].write(folder, disc), {E_OUTOFMEMORY, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY, ZSE_BADIMAGE}},
      {folder.Write("disc.bwt", BwtFile(1)), {ZSE_OUTOFRESOURCES}},
  };
  const ComPtr<IZSImageFile> service = NewImageFileService();
  for (const auto& test : cases) {
    SCOPED_TRACE(test.path);
    const UniqueBstr path = Wide(test.path);
    std::vector<HRESULT> results;
    for (bool failed = true; failed;) {
      zsimagefileinfo info{};
      const auto number = static_cast<long>(results.size()) + 1;
      TestAllocator().FailAt(number);
      const HRESULT result = service->GetImageFileInfo(path.get(), &info);
      failed = TestAllocator().Count() >= number;
      TestAllocator().FailAt(0);
      EXPECT_TRUE(result == S_OK || IsAllZero(info));
      service->FreeImageFileInfo(&info);
      if (failed) {
        results.push_back(result);
      }
    }
    EXPECT_EQ(test.results, results);
  }
}

} // namespace
