// The data of a track: the right bytes at every read size, what the callback sees, and files that fail or end.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>

#include "cuesheet/track_extraction.h"
#include "disc/track_table.h"
#include "support/faulty_files.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

constexpr UINT kSectors = 300; // More than one system call reads ahead.

/// Bytes that tell their position.
std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>((i * 2654435761U) >> 13);
  }
  return bytes;
}

/// A track of an image, and how to read it.
struct Track {
  UINT blockSize = 2352;
  UINT dataBlock = 2048;
  USHORT subCount = 16;
  ULONG start = 5;
  ULONG end = 45;
  UHYPER seekBegin = 0;

  HRESULT Open(const std::string& path, IStream** stream, ZSStreamCallback callback = nullptr,
               const VARIANT& user = VARIANT{}) const {
    zsimagefileinfo info{};
    info.nSubCount = subCount;
    info.dwSeekBegin64 = seekBegin;
    ZSTRACK track{};
    track.dwLBA = start;
    track.dwEndLBA = end;
    track.Pregap = 3; // Plays no part.
    SetBlockSize(&track, blockSize);
    return NewCueSheetService()->ExtractTrackToStream(Wide(path).get(), Wide("label").get(), &info, &track, dataBlock,
                                                      reinterpret_cast<LONG*>(callback), 77, user, stream);
  }
  ComPtr<IStream> Stream(const std::string& path, ZSStreamCallback callback = nullptr) const {
    ComPtr<IStream> stream;
    EXPECT_EQ(S_OK, Open(path, stream.Receive(), callback));
    return stream;
  }
  /// The same bytes cut out of the image one by one.
  std::string Cut(const std::string& image) const {
    const UINT wanted = dataBlock == 0 ? blockSize : dataBlock;
    std::string bytes;
    for (UHYPER sector = start; sector < end; ++sector) {
      for (UINT i = 0; i < wanted; ++i) {
        const UHYPER at = seekBegin + sector * blockSize + (wanted == blockSize ? 0 : subCount) + i;
        if (at < image.size()) {
          bytes += image[static_cast<std::size_t>(at)];
        }
      }
    }
    return bytes;
  }
};

/// Reads to the end as the pump does, into a buffer of the size asked for, and checks each result.
std::string ReadAll(IStream* stream, ULONG size, UHYPER length) {
  std::string bytes;
  std::string buffer(size, '\0');
  bool good = true;
  ULONG came = size;
  while (came != 0) {
    const HRESULT result = stream->Read(buffer.data(), size, &came);
    bytes.append(buffer, 0, came);
    good = good && result == (came == size ? S_OK : S_FALSE) && (came == size || bytes.size() == length);
  }
  EXPECT_TRUE(good) << "a result that does not fit the count, or a short read in the middle";
  return bytes;
}

HRESULT Pump(IStream* stream, const std::string& path) {
  return NewCueSheetService()->ExtractStreamToFile(stream, Wide(path).get());
}

TEST(TrackExtraction, DeliversTheBytesOfTheTrack) {
  const TemporaryFolder folder;
  const std::string image = Pattern(2448 * (kSectors + 10) + 100);
  const std::string path = folder.Write("image.bin", image);
  const Track tracks[] = {
      {2352, 0, 16},
      {2352, 2352, 16},
      {2352, 2048, 16, 5, 5 + kSectors},
      {2352, 2048, 24},
      {2352, 2336, 16},
      {2336, 2048, 8},
      {2448, 2352, 0, 5, 5 + kSectors},
      {2448, 2048, 24},
      {2448, 2448, 24},
      {2048, 0, 0},
      {2352, 1, 2351},
      {2352, 2048, 16, 0, 1},
      {2352, 2048, 16, 7, 7},
      {2352, 2048, 16, 7, 3},
      {2352, 2048, 16, 5, 250, 12345},
      {2352, 0, 16, 5, 50, 12345},
      {300000, 2048, 16, 0, 2},
      {600000, 2048, 16, 0, 1},
  };
  for (const Track& track : tracks) {
    const std::string expected = track.Cut(image);
    for (const ULONG size : {1U, 1000U, 2048U, 65535U, 1000000U}) {
      EXPECT_TRUE(expected == ReadAll(track.Stream(path).Get(), size, expected.size()))
          << track.blockSize << " to " << track.dataBlock << " by " << size;
    }
    EXPECT_EQ(S_OK, Pump(track.Stream(path).Get(), folder.Path("track")));
    EXPECT_TRUE(expected == folder.Read("track"));
  }
}

TEST(TrackExtraction, DeliversWhatAShortImageHolds) {
  const TemporaryFolder folder;
  const std::string image = Pattern(2352 * 40);
  for (const UINT dataBlock : {0U, 2048U}) {
    const Track track{2352, dataBlock, 16, 3, 100};
    // The file ends before, at the start of, inside and behind the data of a sector.
    for (const UINT end :
         {2352U * 2, 2352U * 20 + 10, 2352U * 20 + 16, 2352U * 20 + 700, 2352U * 20 + 2064, 2352U * 21}) {
      const std::string path = folder.Write("short.bin", image.substr(0, end));
      const std::string expected = track.Cut(image.substr(0, end));
      for (const ULONG size : {1U, 1000U, 2048U, 65535U}) {
        EXPECT_TRUE(expected == ReadAll(track.Stream(path).Get(), size, expected.size())) << end << " by " << size;
      }
      EXPECT_EQ(S_OK, Pump(track.Stream(path).Get(), folder.Path("track")));
      EXPECT_TRUE(expected == folder.Read("track"));
    }
  }
}

TEST(TrackExtraction, ReadsAcrossFourGigabytes) {
  const TemporaryFolder folder;
  constexpr ULONG kBorder = 1826091; // The sector of 2352 bytes that spans 4 GiB.
  constexpr UHYPER kFrom = UHYPER{kBorder - 50} * 2352;
  const std::string path = folder.WriteSparse("dvd.iso", UHYPER{kBorder + 60} * 2352);
  const std::string tail = Pattern(2352 * 100);
  std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp(kFrom).write(tail.data(), 2352 * 100);
  for (const UINT dataBlock : {0U, 2048U}) {
    const Track track{2352, dataBlock, 16, kBorder - 50, kBorder + 50};
    const std::string expected = Track{2352, dataBlock, 16, 0, 100}.Cut(tail);
    EXPECT_TRUE(expected == ReadAll(track.Stream(path).Get(), 65535, expected.size()));
  }
  // A length of more than 32 bits.
  const auto callback = [](UINT, ZSSTREAMPROGRESS* progress, ULONG, VARIANT) -> LONG {
    EXPECT_EQ(UHYPER{3000000} * 2048, UHYPER{progress->qwTotal});
    return 0;
  };
  char byte = 0;
  EXPECT_EQ(S_OK, (Track{2352, 2048, 16, 0, 3000000}.Stream(path, callback)->Read(&byte, 1, nullptr)));
}

TEST(TrackExtraction, RefusesWhatCannotBeRead) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("image.bin", Pattern(2352));
  const auto refused = [](const Track& track, const std::string& image) {
    auto* stream = reinterpret_cast<IStream*>(-1);
    EXPECT_EQ(S_FALSE, track.Open(image, &stream));
    EXPECT_EQ(nullptr, stream);
  };
  refused({}, "");
  refused({}, folder.Path("missing.bin"));
  refused({}, folder.Path("."));
  refused({2352, 2353}, path);
  refused({4096, 2449}, path);
  refused({4096, 0}, path);
  refused({2352, 2048, 16, 5, 6, ~UHYPER{0}}, path);
  refused({2352, 2048, 16, 5, 6, UHYPER{1} << 63}, path);
  EXPECT_EQ(E_INVALIDARG, Pump(nullptr, path));
  const ComPtr<IStream> stream = Track{}.Stream(path);
  EXPECT_EQ(E_INVALIDARG, Pump(stream.Get(), ""));
  EXPECT_EQ(S_OK, Pump(stream.Get(), folder.Path("missing/track")));
  EXPECT_EQ(E_INVALIDARG, stream->Read(nullptr, 1, nullptr));
  EXPECT_EQ(E_NOTIMPL, stream->Seek(0, 0, nullptr));
  void* object = &object;
  EXPECT_EQ(E_NOINTERFACE, stream->QueryInterface(IID_ISequentialStream, &object));
  EXPECT_EQ(nullptr, object);
}

// Callbacks have no state of their own, so that the tests keep it here.
std::vector<std::string> g_messages;
std::function<void(ZSSTREAMPROGRESS*)> g_react;
char* g_buffer = nullptr;

LONG Note(UINT kind, ZSSTREAMPROGRESS* progress, ULONG userParam, VARIANT user) {
  EXPECT_EQ(4U, kind);
  EXPECT_EQ(77U, userParam);
  EXPECT_EQ(VT_BSTR, user.vt);
  EXPECT_EQ(BSTR{user.bstrVal}, BSTR{progress->vtUser.bstrVal});
  EXPECT_STREQ("label", progress->pszName);
  g_messages.push_back(std::to_string(UINT{progress->nMessage}) + " at " +
                       std::to_string(static_cast<char*>(progress->pBuffer) - g_buffer) + " size " +
                       std::to_string(UINT{progress->nSize}) + " done " + std::to_string(UHYPER{progress->qwDone}) +
                       "/" + std::to_string(UHYPER{progress->qwTotal}));
  if (g_react) {
    g_react(progress);
  }
  return -1;
}

/// A stream of two sectors' data whose callback notes and reacts.
class StreamCallback : public testing::Test {
protected:
  void SetUp() override {
    g_messages.clear();
    g_react = nullptr;
    g_buffer = m_buffer.data();
    const UniqueBstr text = Wide("user");
    VARIANT user{};
    user.vt = VT_BSTR;
    user.bstrVal = text.get();
    m_path = m_folder.Write("image.bin", m_image);
    ASSERT_EQ(S_OK, m_track.Open(m_path, m_stream.Receive(), Note, user));
  }
  HRESULT Read(ULONG count) { return m_stream->Read(m_buffer.data(), count, &m_came); }

  const TemporaryFolder m_folder;
  const std::string m_image = Pattern(2352 * 8);
  const Track m_track{2352, 2048, 16, 2, 4};
  const std::string m_data = m_track.Cut(m_image);
  std::string m_path;
  std::string m_buffer = std::string(8192, '.');
  ComPtr<IStream> m_stream;
  ULONG m_came = 0;
};

TEST_F(StreamCallback, SeesEachStep) {
  EXPECT_EQ(S_OK, Read(1000));
  EXPECT_EQ(S_OK, Read(3000));
  EXPECT_EQ(S_FALSE, Read(4000));
  EXPECT_EQ(96U, m_came);
  EXPECT_EQ(S_FALSE, Read(10));
  EXPECT_EQ(0U, m_came);
  EXPECT_EQ(S_FALSE, Read(20));
  EXPECT_EQ((std::vector<std::string>{"65 at 0 size 1000 done 0/4096", "4160 at 0 size 1000 done 0/4096",
                                      "8256 at 0 size 1000 done 1000/4096", "4160 at 0 size 3000 done 1000/4096",
                                      "8256 at 0 size 3000 done 4000/4096", "4160 at 0 size 96 done 4000/4096",
                                      "8256 at 0 size 96 done 4096/4096", "66 at 0 size 10 done 4096/4096",
                                      "66 at 0 size 20 done 4096/4096"}),
            g_messages);
}

TEST_F(StreamCallback, RedirectsReads) {
  g_react = [this](ZSSTREAMPROGRESS* progress) {
    if (progress->nMessage == ZSSTREAM_BEGIN) { // For all of the first call.
      progress->pBuffer = m_buffer.data() + 100;
      progress->nSize = 50;
    }
  };
  EXPECT_EQ(S_OK, Read(1000));
  EXPECT_EQ(50U, m_came);
  EXPECT_EQ(std::string(100, '.') + m_data.substr(0, 50) + '.', m_buffer.substr(0, 151));
  EXPECT_EQ("8256 at 100 size 50 done 50/4096", g_messages.back());
  g_react = [this](ZSSTREAMPROGRESS* progress) {
    if (progress->nMessage == ZSSTREAM_BEFOREREAD) { // For one read, and more than the track has.
      progress->pBuffer = m_buffer.data() + 7;
      progress->nSize = 5000;
    }
  };
  EXPECT_EQ(S_FALSE, Read(1000));
  EXPECT_EQ(5000U, m_came);
  EXPECT_TRUE((Track{2352, 2048, 16, 2, 5}.Cut(m_image).substr(50, 5000)) == m_buffer.substr(7, 5000));
  EXPECT_EQ("8256 at 0 size 5000 done 5050/4096", g_messages.back());
  EXPECT_EQ(S_FALSE, Read(1000));
  EXPECT_EQ(0U, m_came);
}

TEST_F(StreamCallback, Cancels) {
  g_react = [](ZSSTREAMPROGRESS* progress) { progress->fCancel = progress->nMessage == ZSSTREAM_AFTERREAD ? 1 : 0; };
  EXPECT_EQ(E_FAIL, Read(1000));
  EXPECT_EQ(0U, m_came);
  EXPECT_EQ(m_data.substr(0, 1000), m_buffer.substr(0, 1000));
  g_react = nullptr;
  EXPECT_EQ(E_FAIL, Read(1000));
  EXPECT_EQ("8256 at 0 size 1000 done 2000/4096", g_messages.back());
  EXPECT_EQ(S_OK, Pump(m_stream.Get(), m_folder.Path("track")));
  EXPECT_EQ("", m_folder.Read("track"));
}

/// Files that fail wherever a bad stretch is touched, and count.
class FailingFiles final : public FaultyFiles {
public:
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override {
    ++calls;
    const off_t at = FaultyFiles::Seek(descriptor, 0, SEEK_CUR);
    if (at < badEnd && at + static_cast<off_t>(count) > badStart) {
      if (!partial || at >= badStart) {
        errno = EIO;
        return -1;
      }
      count = static_cast<std::size_t>(badStart - at); // As a disk does: first what is good.
    }
    return FaultyFiles::Read(descriptor, buffer, count);
  }
  off_t Seek(int descriptor, off_t distance, int origin) noexcept override {
    ++calls;
    return FaultyFiles::Seek(descriptor, distance, origin);
  }

  off_t badStart = 0;
  off_t badEnd = 0;
  bool partial = false;
  int calls = 0;
};

constexpr HRESULT kDeviceError = MakeResult(0x8007045D); // System error 1117.

TEST(StreamFailures, DeliverAllBeforeABadSectorAndGoOnBehindIt) {
  const TemporaryFolder folder;
  const std::string image = Pattern(2352 * (kSectors + 10));
  const std::string path = folder.Write("image.bin", image);
  const Track track{2352, 2048, 16, 5, 5 + kSectors};
  const std::string expected = track.Cut(image);
  for (const bool partial : {false, true}) {
    for (const ULONG bad : {0U, 1U, 100U, 222U, 223U, kSectors - 1}) {
      for (const ULONG size : {1000U, 2048U, 65535U, 1000000U}) {
        FailingFiles files;
        files.partial = partial;
        files.badStart = static_cast<off_t>(2352) * (track.start + bad);
        files.badEnd = files.badStart + 2352;
        const ComPtr<IStream> stream = track.Stream(path);
        std::string bytes;
        std::string buffer(size, '\0');
        ULONG came = 0;
        HRESULT result = S_OK;
        while (result == S_OK) {
          result = stream->Read(buffer.data(), size, &came);
          bytes.append(buffer, 0, came);
        }
        EXPECT_EQ(kDeviceError, result);
        EXPECT_TRUE(expected.substr(0, bad * 2048) == bytes) << bad << " by " << size << ": " << bytes.size();
        EXPECT_EQ(kDeviceError, stream->Read(buffer.data(), size, &came)) << "as long as it is bad";
        EXPECT_EQ(0U, came);
        files.badEnd = 0;
        while (bytes.size() < expected.size()) {
          ASSERT_GE(stream->Read(buffer.data(), size, &came), 0);
          ASSERT_NE(0U, came);
          bytes.append(buffer, 0, came);
        }
        EXPECT_TRUE(expected == bytes.substr(0, expected.size())) << bad << " by " << size;
      }
    }
  }
}

TEST(StreamFailures, InsideASector) {
  // The first read of a sector is good and what its rest brings is not: 1000 bytes of it still arrive.
  const TemporaryFolder folder;
  const std::string image = Pattern(2352 * 4);
  const std::string path = folder.Write("image.bin", image);
  const Track track{2352, 2048, 16, 0, 4};
  FailingFiles files;
  files.badStart = 2352 + 1500;
  files.badEnd = files.badStart + 1;
  const ComPtr<IStream> stream = track.Stream(path);
  std::string buffer(3048, '\0');
  ULONG came = 0;
  EXPECT_EQ(kDeviceError, stream->Read(buffer.data(), 3048, &came));
  EXPECT_TRUE(track.Cut(image).substr(0, 3048) == buffer.substr(0, came)) << came;
  files.badEnd = 0;
  EXPECT_EQ(S_OK, stream->Read(buffer.data(), 2048, &came));
  EXPECT_TRUE(track.Cut(image).substr(3048, 2048) == buffer.substr(0, 2048));
}

TEST(StreamFailures, CostOfAGoodFile) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("image.bin", Pattern(2352 * (kSectors + 10)));
  for (const ULONG size : {1U, 1000U, 2048U, 65535U}) {
    FailingFiles files;
    ReadAll(Track{2352, 2048, 16, 5, 5 + kSectors}.Stream(path).Get(), size, kSectors * 2048);
    EXPECT_LE(files.calls, 3) << "a seek and two blocks, by " << size; // One call a sector would be 300.
  }
}

} // namespace
