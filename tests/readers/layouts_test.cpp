// Discs of every layout through every format: classification, positions and the bytes of the tracks.

#include "builders/ccd_builder.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "readers/reader_checks.h"

namespace {

struct Layout {
  const char* name;
  DiscPlan disc;
  ::ZSTYPEPROJECT type;
  int subCount;
};

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
  const char* sectorFile;
};
const Format kFormats[] = {{"disc.nrg", ZSIMAGEFORMAT_NRG, "disc.nrg"},
                           {"disc.ccd", ZSIMAGEFORMAT_CCD, "disc.IMG"},
                           {"disc.mds", ZSIMAGEFORMAT_MDS, "disc.MDF"}};

/// A track stands where the disc has it and, in the first session, its sectors in the image.
void ExpectTrack(const TemporaryFolder& folder, ImageRecord& record, const PlacedTrack& placed, UINT number,
                 const std::vector<BYTE>& sectors) {
  SCOPED_TRACE("track " + std::to_string(placed.number));
  ZSTRACK* track = &record.Track(number - 1, placed.session);
  EXPECT_TRUE(track->TNO == number && track->dwLBA == placed.start && track->dwEndLBA == placed.end &&
              track->Pregap == static_cast<LONG>(placed.pregap) && track->Mode == placed.mode &&
              track->BlockSize == 2352 && track->ImageBlockSize == 2352)
      << Describe(*track);
  if (placed.session == 0) {
    const ComPtr<IZSCueSheet> service = NewCueSheetService();
    ComPtr<IStream> stream;
    ASSERT_EQ(S_OK, service->ExtractTrackToStream(record->bstrImageBinaryFile, nullptr, &*record, track, 0, nullptr, 0,
                                                  VARIANT{}, stream.Receive()));
    service->ExtractStreamToFile(stream.Get(), Wide(folder.Path("track")).get());
    EXPECT_TRUE(AsText(sectors).substr(placed.pregap * placed.size) == folder.Read("track"));
  }
}

TEST(Layouts, AreKnownInEveryFormat) {
  const TemporaryFolder folder;
  for (const Layout& layout : kLayouts) {
    const std::vector<BYTE> sectors = DiscSectors(layout.disc);
    const std::vector<PlacedTrack> tracks = PlaceTracks(layout.disc);
    folder.Write("disc.nrg", NrgImage(layout.disc));
    folder.Write("disc.img", sectors);
    folder.Write("disc.ccd", CcdText(layout.disc));
    folder.Write("disc.mdf", sectors);
    folder.Write("disc.mds", MdsOf(layout.disc).Build());
    for (const Format& format : kFormats) {
      SCOPED_TRACE(std::string(format.name) + ", " + layout.name);
      ImageRecord record(folder.Path(format.name));
      ASSERT_EQ(S_OK, record.Result());
      EXPECT_EQ(format.format, zsimgformat{record->ZSImageFormat});
      EXPECT_EQ(folder.Path(format.sectorFile), Narrow(record->bstrImageBinaryFile));
      const bool nero = format.format == ZSIMAGEFORMAT_NRG; // Its chunks stand behind the sectors.
      EXPECT_EQ(nero ? 150 * 2352 + sectors.size() : ~UHYPER{0}, UHYPER{record->dwSeekEnd64});
      EXPECT_EQ(layout.type, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
      EXPECT_EQ(layout.subCount, record->nSubCount);
      EXPECT_EQ(2352, int{record->ZSBlockSize});
      ASSERT_EQ(layout.disc.sessions.size(), record->nSessions);
      EXPECT_NE(0U, ULONG{record->dwDiscID});
      const PlacedTrack* placed = tracks.data();
      for (std::size_t session = 0; session < record->nSessions; ++session) {
        ASSERT_EQ(layout.disc.sessions[session].size(), record.Sheet(session).nTracks);
        for (UINT number = 1; number <= record.Sheet(session).nTracks; ++number, ++placed) {
          ExpectTrack(folder, record, *placed, number, TrackSectors(layout.disc, *placed));
        }
      }
    }
  }
}

} // namespace
