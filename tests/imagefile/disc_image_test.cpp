// The C++ face, as a program uses it: records and texts, offsets of tracks, data, descriptions, and every failure.
#include "imagefile/disc_image.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <set>
#include <type_traits>

#include "support/faulty_files.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using imagefile::Image;

/// A folder with the samples.
class DiscImage : public testing::Test {
protected:
  DiscImage() { fs::copy(SAMPLE_IMAGES, folder.Path(""), fs::copy_options::recursive); }
  Image Open(const std::string& name) const { return Image(folder.Path(name)); }
  /// Returns the files of the folder, so that a test sees what an operation leaves.
  std::set<fs::path> Files() const {
    const fs::directory_iterator files(folder.Path(""));
    return {begin(files), end(files)};
  }

  const TemporaryFolder folder;
};

/// Calls, and returns the name and the file of the failure. The text must have both.
template <class Call> std::string FailureOf(Call call) {
  try {
    call();
  } catch (const imagefile::Error& error) {
    const std::string path = error.Path().empty() ? "" : error.Path() + ": ";
    EXPECT_EQ(path + error.Words() + " (" + error.Name() + ", " + imagefile::CodeNumber(error.Code()) + ")",
              error.what());
    return error.Name() + " " + fs::path(error.Path()).filename().string();
  }
  return "none";
}

TEST_F(DiscImage, ShowsTheRecord) {
  const Image image = Open("mixed.cue");
  const imagefile::Session& session = image.Sessions()[0];
  const imagefile::Track& track = session.Tracks()[1];
  EXPECT_TRUE(image.Format() == imagefile::Format::Cue && image.Kind() == imagefile::Kind::Mixed);
  EXPECT_FALSE(image.Has(imagefile::Mask::CdText) || session.HasCdText() || session.Title());
  EXPECT_EQ(ULONG{image.Record().dwDiscID}, image.DiscId());
  EXPECT_TRUE(folder.Path("mixed.bin") == image.DataFile() && image.DataFileBytes() == 141120U) << "case of the disk";
  EXPECT_TRUE(session.Number() == 1 && session.Format() == imagefile::SessionFormat::CdRom);
  EXPECT_TRUE(session.Mcn() == "4006381333931" && track.Number() == 2 && track.Isrc() == "DEA012600001");
  EXPECT_TRUE(track.Start() == 28 && track.End() == 40 && track.PregapSectors() == 8 && track.PostgapSectors() == 0);
  EXPECT_TRUE(track.Mode() == imagefile::Mode::Audio && track.BlockBytes() == 2352 && track.IndexCount() == 2);
  EXPECT_TRUE(track.Has(imagefile::Flags::PreEmphasis) && !track.Has(imagefile::Flags::FourChannels));
  EXPECT_TRUE(track.Index(0) == 20 && track.Index(1) == 28 && track.Index(2) == std::nullopt);
  EXPECT_EQ(-150, Open("cdplus.nrg").Sessions()[0].Tracks()[0].Index(0));
}

TEST_F(DiscImage, MovesWithItsViewsAndClones) {
  static_assert(!std::is_copy_constructible_v<Image> && std::is_nothrow_move_assignable_v<Image>);
  Image image = Open("album.cue");
  const imagefile::Track track = image.Sessions()[0].Tracks()[1];
  Image moved = std::move(image);
  EXPECT_TRUE(track.Title() == "Café at Sector Twenty" && moved.Sessions()[0].Performer() == "The Builders");
  EXPECT_EQ(47040U, moved.Stream(track).SizeBytes());
  image = moved.Clone();
  const Image taken(&moved.Record(), "other"); // A record of the interfaces, without its objects.
  moved = Open("plain.iso");
  EXPECT_EQ(folder.Path("album.cue"), image.Path());
  for (const Image* owner : {&std::as_const(image), &taken}) {
    EXPECT_EQ("Café at Sector Twenty", owner->Sessions()[0].Tracks()[1].Title());
  }
  EXPECT_EQ("E_INVALIDARG plain.iso", FailureOf([&] { moved.Stream(image.Sessions()[0].Tracks()[0]); }));
}

/// The tracks of the made images are not in the file where they are on the disc.
TEST_F(DiscImage, FindsTracksInTheFile) {
  const std::string sheet = "FILE \"album.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\n";
  folder.Write("pregap.cue", sheet + "PREGAP 00:00:10\nINDEX 01 00:00:20\n");
  folder.Write("short.cue", sheet + "INDEX 01 00:00:50\n"); // The file ends before the track begins.
  std::string apart = folder.Read("tao.nrg"); // Its second track moves away on the disc, and stays in the file.
  folder.Write("apart.nrg", apart.replace(apart.find(std::string("\x07\0\0\0\x14", 5)), 5, "\x07\0\0\0\xaa", 5));
  std::string stated = folder.Read("inline.mds"); // One sector of 2352 bytes among those of 2448, at a stated offset.
  stated.replace(stated.find("\x90\x09"), 2, "\x30\x09");
  folder.Write("sizes.mds", stated);
  folder.Write("sizes.mdf", folder.Read("inline.mdf"));
  const std::pair<const char*, const char*> kCases[] = {
      {"short.cue", "0+50 117600+0"},          {"pregap.cue", "0+20 47040+20"},
      {"mixed.cue", "0+20 65856+12 94080+20"}, {"cdplus.nrg", "352800+20 418656+12 446880+20"},
      {"apart.nrg", "0+20 40960+20"},          {"sessions.ccd", "0+20 47040+20 94080+20 141120+20"},
      {"inline.mds", "0+20 58752+20"},         {"sizes.mds", "0+20 48960+20"},
  };
  for (const auto& [name, expected] : kCases) {
    std::string found;
    const Image image = Open(name);
    for (const imagefile::Session& session : image.Sessions()) {
      for (const imagefile::Track& track : session.Tracks()) {
        found += std::to_string(track.OffsetBytes()) + "+" + std::to_string(track.SectorsInFile()) + " ";
      }
    }
    EXPECT_EQ(expected + std::string(" "), found) << name;
  }
}

TEST_F(DiscImage, FindsASectorAndWhatACutFileLacks) {
  const Image image = Open("mixed.cue");
  const auto pregap = image.PositionOf(27).value();
  EXPECT_TRUE(pregap.track.Number() == 2 && pregap.session.Number() == 1 && pregap.isInPregap);
  EXPECT_TRUE(pregap.offsetBytes == 63504 && !image.PositionOf(40).value().isInPregap);
  EXPECT_TRUE(!image.PositionOf(60) && !image.PositionOf(-1) && !image.PositionOf(INT64_MIN) &&
              !Open("sessions.ccd").PositionOf(20));
  EXPECT_EQ(105840U, Open("sessions.ccd").PositionOf(11295)->offsetBytes);
  for (const auto& [bytes, missing] : {std::pair(141120U, 0U), {141119U, 1U}, {0U, 20U}}) {
    EXPECT_EQ(missing, image.Sessions()[0].Tracks()[2].MissingSectors(bytes));
  }
}

TEST_F(DiscImage, ExtractsWhatTheFileHas) {
  const std::tuple<std::string, std::size_t, std::uint32_t, std::size_t> kCases[] = {
      // Image, track, block size and offset of the first block.
      {"mixed", 1, 0, 28 * 2352},
      {"mixed", 0, 2048, 16},
      {"bridge", 0, 2336, 16}, // Mode 2: the sub-header goes with 2336 bytes, and not with 2048.
      {"bridge", 0, 2048, 24},
  };
  folder.Write("out", "old");
  fs::permissions(folder.Path("out"), fs::perms::owner_all);
  for (const auto& [name, number, size, offset] : kCases) {
    const Image image = Open(name + ".cue");
    const imagefile::Track& track = image.Sessions()[0].Tracks()[number];
    std::string expected;
    for (std::size_t sector = 0; sector < track.SectorsInFile(); ++sector) {
      expected += folder.Read(name + ".bin").substr(offset + sector * 2352, size == 0 ? 2352 : size);
    }
    std::pair<std::uint64_t, std::uint64_t> last;
    const auto progress = [&](std::uint64_t done, std::uint64_t total) { return last = {done, total}, true; };
    image.Extract(track, folder.Path("out"), {.blockSize = size, .progress = progress});
    EXPECT_TRUE(expected == folder.Read("out")) << name << size;
    EXPECT_TRUE(last.first == expected.size() && last.second == expected.size());
  }
  EXPECT_EQ(fs::perms::owner_all, fs::status(folder.Path("out")).permissions()) << "those of the old file";
}

TEST_F(DiscImage, StreamsForwardWithoutItsImage) {
  const std::string iso = folder.Read("plain.iso");
  imagefile::TrackStream track = [image = Open("plain.iso")] {
    return image.Stream(image.Sessions()[0].Tracks()[0]);
  }();
  imagefile::TrackStream run = Open("plain.iso").Stream({2048, 2, 2048, 8, 100});
  for (auto* stream : {&track, &run}) {
    std::string content(static_cast<std::size_t>(stream->SizeBytes()), '\0');
    const auto buffer = std::as_writable_bytes(std::span(content));
    EXPECT_EQ(50U, stream->Read(buffer.first(50)));
    EXPECT_EQ(buffer.size() - 50, stream->Read(buffer.subspan(50)));
    EXPECT_TRUE(stream->Read(buffer) == 0 && stream->Read({}) == 0 && stream->DoneBytes() == content.size());
    EXPECT_EQ(stream == &track ? iso : iso.substr(2048 + 8, 100) + iso.substr(4096 + 8, 100), content);
  }
}

TEST_F(DiscImage, WritesDescriptionsAndCdTextThatAreReadBack) {
  const Image image = Open("tao.nrg");
  image.WriteCueSheet(folder.Path("new.cue"));
  image.WriteTocFile(folder.Path("new.zsi"));
  EXPECT_EQ(image.EncodeCdText().size(), folder.Read("NEW.CDT").size());
  folder.Write("NEW.BIN", folder.Read("album.bin"));
  for (const char* name : {"new.cue", "new.zsi"}) {
    const Image copy = Open(name);
    EXPECT_EQ(image.Sessions()[0].Title().value(), copy.Sessions()[0].Title()) << name;
    EXPECT_EQ(image.Sessions()[0].Tracks()[1].Start(), copy.Sessions()[0].Tracks()[1].Start()) << name;
  }
  Open("mixed.cue").WriteCueSheet(folder.Path("bare.cue"));
  EXPECT_FALSE(fs::exists(folder.Path("BARE.CDT"))) << "there are no texts";
  const Image texts = imagefile::DecodeCdText(Open("album.cue").EncodeCdText(), 3).Clone();
  const auto tracks = texts.Sessions()[0].Tracks();
  EXPECT_EQ("Made-up Sectors", texts.Sessions()[0].Title());
  EXPECT_TRUE(tracks[1].Title() == "Café at Sector Twenty" && !tracks[2].Title());
  EXPECT_TRUE(Open("plain.iso").EncodeCdText().empty() && !imagefile::DecodeCdText({}, 0).Sessions()[0].Title());
}

TEST_F(DiscImage, NamesCodeAndFileOfEachFailure) {
  const Image album = Open("album.cue");
  const std::string plain = folder.Read("plain.iso");
  const auto extract = [&](const Image& image, const std::string& target, imagefile::ExtractOptions options = {}) {
    image.Extract(image.Sessions()[0].Tracks().back(), target, options);
  };
  const auto path = [&](const char* name) { return folder.Path(name); };
  folder.Write("cut.cue", "FILE \"cut.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n");
  folder.WriteSparse("cut.bin", 47040);
  const Image cut = Open("cut.cue");
  fs::resize_file(path("cut.bin"), 47039);
  folder.Write("lone.ccd", folder.Read("sessions.ccd"));
  folder.Write("new.cdt", "");
  fs::create_symlink("/dev/full", path("full.cue"));
  fs::create_symlink("/dev/full", path("full.zsi"));
  fs::create_symlink("none/x", path("link"));
  mkfifo(path("pipe").c_str(), 0600);
  const std::set<fs::path> before = Files();
  const std::pair<const char*, std::function<void()>> kCases[] = {
      {"ZSE_CANNOTOPENIMAGE none.cue", [&] { Open("none.cue"); }},
      {"ZSE_BADIMAGE album.bin", [&] { Open("album.bin"); }},
      {"E_INVALIDARG a", [&] { Image(std::string("a\0b/", 4)); }},
      {"ZSE_FILENOTFOUND lone.ccd", [&] { extract(Open("lone.ccd"), path("x")); }}, // It names itself.
      {"ERROR_HANDLE_EOF cut.bin", [&] { extract(cut, path("x")); }},
      {"E_INVALIDARG album.cue", [&] { extract(album, path("x"), {.blockSize = 2048}); }},
      {"E_INVALIDARG plain.iso", [&] { extract(Open("plain.iso"), path("x"), {.blockSize = 2049}); }},
      {"E_ABORT x", [&] { extract(album, path("x"), {.progress = [](auto, auto) { return false; }}); }},
      {"E_ABORT plain.iso", [&] { extract(album, path("plain.iso"), {.progress = [](auto, auto) { return false; }}); }},
      {"E_INVALIDARG ALBUM.BIN", [&] { extract(album, path("ALBUM.BIN")); }},
      {"E_INVALIDARG album.cdt", [&] { extract(album, path("album.cdt")); }},
      {"E_INVALIDARG plain.iso", [&] { extract(album, path("plain.iso") + '\0'); }},
      {"E_INVALIDARG pipe", [&] { extract(album, path("pipe")); }},
      {"E_INVALIDARG a<.zsi", [&] { album.WriteTocFile(path("a<.zsi")); }},
      {"ERROR_DISK_FULL full", [&] { extract(album, "/dev/full"); }},
      {"ERROR_DISK_FULL full.cue", [&] { album.WriteCueSheet(path("full.cue")); }},
      {"ERROR_DISK_FULL full.zsi", [&] { album.WriteTocFile(path("full.zsi")); }},
      {"ERROR_PATH_NOT_FOUND x", [&] { extract(album, path("none/x")); }},
      {"ERROR_PATH_NOT_FOUND link", [&] { extract(album, path("link")); }},
      {"ERROR_ACCESS_DENIED ", [&] { extract(album, path("")); }},
      {"ERROR_FILE_EXISTS new.cdt", [&] { album.WriteCueSheet(path("new.cue")); }},
      {"E_INVALIDARG new.zsi", [&] { album.WriteCueSheet(path("new.zsi")); }},
      {"E_INVALIDARG album.cue", [&] { album.WriteCueSheet(path("album.cue")); }},
  };
  for (const auto& [expected, act] : kCases) {
    EXPECT_EQ(expected, FailureOf(act));
  }
  const auto fail = [](auto, auto) -> bool { throw std::domain_error("mine"); };
  EXPECT_THROW(extract(album, path("plain.iso"), {.progress = fail}), std::domain_error);
  EXPECT_EQ(before, Files());
  EXPECT_TRUE(fs::is_character_file("/dev/full") && plain == folder.Read("plain.iso"));
  EXPECT_STREQ("the operation failed (0x80070001)", imagefile::Error(MakeResult(0x80070001), "").what());
}

/// Memory or a call of the file layer fails, at each point in turn: what was there stays, or all is done.
TEST_F(DiscImage, LosesNothingWhereAnythingFails) {
  const Image image = Open("album.cue");
  const std::pair<std::string, std::function<void(const std::string&)>> kWrites[] = {
      {"out", [&](const std::string& path) { image.Extract(image.Sessions()[0].Tracks()[1], path); }},
      {"out.cue", [&](const std::string& path) { image.WriteCueSheet(path); }},
      {"out.zsi", [&](const std::string& path) { image.WriteTocFile(path); }},
      {"read", [&](const std::string&) { imagefile::DecodeCdText(Open("tao.nrg").EncodeCdText(), 2); }},
  };
  FaultyFiles system([] { return ENOSPC; });
  for (const auto& [name, write] : kWrites) {
    folder.Write(name, "old");
    write(folder.Path(name));
    const std::string whole = folder.Read(name);
    const std::set<fs::path> after = Files();
    for (FaultPoints* points : {&system.points, &Memory().faults}) {
      for (long point = 1; point == 1 || points->Reached(); ++point) {
        folder.Write(name, "old");
        std::string expected = whole;
        points->Start(point);
        try {
          write(folder.Path(name));
        } catch (const std::exception&) { // An Error, or std::bad_alloc.
          points->Stop();
          expected = "old";
        }
        points->Stop();
        EXPECT_TRUE(expected == folder.Read(name) && after == Files()) << name << ' ' << point;
      }
    }
  }
}

} // namespace
