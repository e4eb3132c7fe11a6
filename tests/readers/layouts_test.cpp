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
    {"audio", {{{kAudio, kAudioAfterPregap}}}, ZSTYPEPROJECT_CDAUDIO, 0},
    {"data of mode 1", {{{kMode1}}}, ZSTYPEPROJECT_DATA, 16},
    {"data of mode 2", {{{kMode2}}}, ZSTYPEPROJECT_DATA, 24},
    {"mixed", {{{kMode1, kAudioAfterPregap, kAudio}}}, ZSTYPEPROJECT_MIXED, 16},
    {"audio in two sessions", {{{kAudio}, {kAudio}}}, ZSTYPEPROJECT_CDAUDIO, 0},
    {"CD Plus", {{{kAudio, kAudioAfterPregap}, {kMode2}}}, ZSTYPEPROJECT_CDPLUS, 24},
    {"mixed, then data", {{{kMode1, kAudio}, {kMode1}}}, ZSTYPEPROJECT_MIXED, 16},
    {"data in two sessions", {{{kMode1}, {kMode1}}}, ZSTYPEPROJECT_DATAMULTISESSION, 16},
    {"three sessions", {{{kAudio}, {kMode2}, {kAudio}}}, ZSTYPEPROJECT_DATAMULTISESSION, 24},
    {"video", {{{kMode2, kMode2}}, "CD-RTOS CD-BRIDGE"}, ZSTYPEPROJECT_VIDEO, 24},
};

/// Names of the description and of the file with the sectors.
const std::tuple<const char*, zsimgformat, const char*> kFormats[] = {{"disc.nrg", ZSIMAGEFORMAT_NRG, "disc.nrg"},
                                                                      {"disc.ccd", ZSIMAGEFORMAT_CCD, "disc.IMG"},
                                                                      {"disc.mds", ZSIMAGEFORMAT_MDS, "disc.MDF"}};

std::string ExtractTrack(const TemporaryFolder& folder, ImageRecord& record, ZSTRACK* track) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  ComPtr<IStream> stream;
  EXPECT_EQ(S_OK, service->ExtractTrackToStream(record->bstrImageBinaryFile, nullptr, &*record, track, 0, nullptr, 0,
                                                VARIANT{}, stream.Receive()));
  EXPECT_EQ(S_OK, service->ExtractStreamToFile(stream.Get(), Wide(folder.Path("track")).get()));
  return folder.Read("track");
}

TEST(Layouts, EveryFormatDescribesTheSameDisc) {
  const TemporaryFolder folder;
  for (const Layout& layout : kLayouts) {
    const std::vector<BYTE> sectors = DiscSectors(layout.disc);
    folder.Write("disc.nrg", NrgImage(layout.disc));
    folder.Write("disc.img", sectors);
    folder.Write("disc.ccd", CcdText(layout.disc));
    folder.Write("disc.mdf", sectors);
    folder.Write("disc.mds", MdsOf(layout.disc).Build());
    for (const auto& [name, format, sectorFile] : kFormats) {
      SCOPED_TRACE(std::string(name) + ", " + layout.name);
      ImageRecord record(folder.Path(name));
      ASSERT_EQ(S_OK, record.Result());
      EXPECT_EQ(format, zsimgformat{record->ZSImageFormat});
      EXPECT_EQ(folder.Path(sectorFile), Narrow(record->bstrImageBinaryFile));
      const UHYPER end = format == ZSIMAGEFORMAT_NRG ? 150 * 2352 + sectors.size() : ~UHYPER{0}; // Chunks follow.
      EXPECT_EQ(end, UHYPER{record->dwSeekEnd64});
      EXPECT_EQ(layout.type, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
      EXPECT_EQ(layout.subCount, record->nSubCount);
      EXPECT_EQ(2352, int{record->ZSBlockSize});
      ASSERT_EQ(layout.disc.sessions.size(), record->nSessions);
      ASSERT_EQ(layout.disc.sessions[0].size(), record.Sheet().nTracks);
      EXPECT_NE(0U, ULONG{record->dwDiscID});
      for (const PlacedTrack& placed : PlaceTracks(layout.disc)) {
        if (placed.session == 0) {
          const std::string withPregap = AsText(TrackSectors(layout.disc, placed));
          EXPECT_TRUE(withPregap.substr(placed.pregap * placed.size) ==
                      ExtractTrack(folder, record, &record.Track(placed.number - 1)))
              << placed.number;
        }
      }
    }
  }
}

} // namespace
