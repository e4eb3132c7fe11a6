// Discs of every layout through every format: classification, positions and the bytes of the tracks.

#include <sstream>

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

/// Writes a disc under one path in all three formats.
void WriteAll(const TemporaryFolder& folder, const DiscPlan& disc) {
  folder.Write("disc.nrg", NrgImage(disc));
  folder.Write("disc.img", DiscSectors(disc));
  folder.Write("disc.ccd", CcdText(disc));
  folder.Write("disc.mdf", DiscSectors(disc));
  folder.Write("disc.mds", MdsOf(disc).Build());
}

struct Format {
  const char* name;
  zsimgformat format;
  const char* sectorFile;
};
const Format kFormats[] = {{"disc.nrg", ZSIMAGEFORMAT_NRG, "disc.nrg"},
                           {"disc.ccd", ZSIMAGEFORMAT_CCD, "disc.IMG"},
                           {"disc.mds", ZSIMAGEFORMAT_MDS, "disc.MDF"}};

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
    std::ostringstream line;
    line << place + 1 << ": " << placed.start << '-' << placed.end << " pregap " << placed.pregap << " mode "
         << placed.mode << " size 2352/2352 ";
    EXPECT_EQ(0U, Describe(record.Track(place, placed.session)).find(line.str())) << line.str();
    if (placed.session == 0) {
      ExpectBytes(record, disc, placed);
    }
  }
}

TEST(Layouts, AreKnownInEveryFormat) {
  const TemporaryFolder folder;
  for (const Layout& layout : kLayouts) {
    WriteAll(folder, layout.disc);
    for (const Format& format : kFormats) {
      SCOPED_TRACE(std::string(format.name) + ", " + layout.name);
      ImageRecord record(folder.Path(format.name));
      ASSERT_EQ(S_OK, record.Result());
      EXPECT_EQ(format.format, zsimgformat{record->ZSImageFormat});
      EXPECT_EQ(folder.Path(format.sectorFile), Narrow(record->bstrImageBinaryFile));
      EXPECT_EQ(layout.type, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
      EXPECT_EQ(layout.subCount, record->nSubCount);
      EXPECT_EQ(2352, int{record->ZSBlockSize});
      ASSERT_EQ(layout.disc.sessions.size(), record->nSessions);
      EXPECT_NE(0U, ULONG{record->dwDiscID});
      ExpectTracks(record, layout.disc);
    }
  }
}

} // namespace
