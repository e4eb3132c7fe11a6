#include <unistd.h>

#include "cuesheet/track_extraction.h"
#include "support/test.h"

namespace {

/// End of a track from sector 5 that is longer than the buffers of the stream and of extraction to a file.
constexpr ULONG kEnd = 312;

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>((i * 2654435761U) >> 13);
  }
  return bytes;
}

/// A track of an image and the block size to extract.
struct Track {
  UINT blockSize = 2352;
  UINT dataBlock = 2048;
  USHORT subCount = 16;
  ULONG start = 5;
  ULONG end = 45;
  UHYPER seekBegin = 0;

  ComPtr<IStream> Open(const std::string& path, ZSStreamCallback callback = nullptr, const VARIANT& user = {},
                       HRESULT expected = S_OK) const {
    zsimagefileinfo info{};
    info.nSubCount = subCount;
    info.dwSeekBegin64 = seekBegin;
    ZSTRACK track{};
    track.dwLBA = start;
    track.dwEndLBA = end;
    track.Pregap = 3; // Ignored.
    SetBlockSize(&track, blockSize);
    auto* stream = reinterpret_cast<IStream*>(-1);
    EXPECT_EQ(expected, NewCueSheetService()->ExtractTrackToStream(Wide(path).get(), Wide("label").get(), &info, &track,
                                                                   dataBlock, reinterpret_cast<LONG*>(callback), 77,
                                                                   user, &stream));
    return ComPtr<IStream>(stream);
  }
  std::string BytesOf(const std::string& image) const {
    const UINT size = dataBlock == 0 ? blockSize : dataBlock;
    std::string bytes;
    for (UHYPER sector = start; sector < end; ++sector) {
      const auto offset = static_cast<std::size_t>(seekBegin + sector * blockSize + (size == blockSize ? 0 : subCount));
      bytes += image.substr(std::min(offset, image.size()), size);
    }
    return bytes;
  }
};

/// Reads in steps of a size until a read returns less or fails, and expects its result.
std::string ReadRest(const ComPtr<IStream>& stream, ULONG size, HRESULT end = S_FALSE) {
  std::string bytes;
  std::string buffer(size, '\0');
  ULONG bytesRead = size;
  HRESULT result = S_OK;
  while (result == S_OK && bytesRead == size) {
    result = stream->Read(buffer.data(), size, &bytesRead);
    bytes.append(buffer, 0, bytesRead);
  }
  EXPECT_EQ(end, result);
  return bytes;
}

HRESULT ExtractToFile(const ComPtr<IStream>& stream, const std::string& path) {
  return NewCueSheetService()->ExtractStreamToFile(stream.Get(), Wide(path).get());
}

/// An image, and a stream of two of its sectors whose callback records each call and can change the progress record.
class ImageStream : public testing::Test {
protected:
  using Step = std::array<UHYPER, 4>; ///< Message, offset in m_buffer, size, bytes done.

  ImageStream() {
    s_test = this;
    Open(m_track);
  }
  void Open(const Track& track) {
    const UniqueBstr text = Wide("user");
    VARIANT user{};
    user.vt = VT_BSTR;
    user.bstrVal = text.get();
    m_stream = track.Open(m_path, RecordCall, user);
  }
  HRESULT Read(ULONG count) { return m_stream->Read(m_buffer.data(), count, &m_bytesRead); }

  static LONG RecordCall(UINT kind, ZSSTREAMPROGRESS* progress, ULONG userParam, VARIANT user) {
    const auto expected = std::tuple(4U, 77U, std::string("user"), BSTR{progress->vtUser.bstrVal});
    EXPECT_EQ(expected, std::tuple(kind, userParam, Narrow(user.bstrVal), BSTR{user.bstrVal}));
    EXPECT_STREQ("label", progress->pszName);
    const UHYPER offset = reinterpret_cast<std::uintptr_t>(progress->pBuffer) -
                          reinterpret_cast<std::uintptr_t>(s_test->m_buffer.data()); // Wraps for any other buffer.
    s_test->m_steps.push_back({progress->nMessage, offset, progress->nSize, progress->qwDone});
    s_test->m_total = progress->qwTotal;
    s_test->m_react(progress);
    return -1;
  }

  const TemporaryFolder m_folder;
  const std::string m_image = Pattern(2448 * 322);
  const std::string m_path = m_folder.Write("image.bin", m_image);
  const Track m_track{2352, 2048, 16, 2, 4};
  const Track m_longer{2352, 2048, 16, 5, kEnd};
  const std::string m_data = m_track.BytesOf(m_image);
  std::string m_buffer = std::string(8192, '.');
  std::vector<Step> m_steps;
  UHYPER m_total = 0;
  std::function<void(ZSSTREAMPROGRESS*)> m_react = [](ZSSTREAMPROGRESS*) {};
  ComPtr<IStream> m_stream;
  ULONG m_bytesRead = 0;

private:
  static inline ImageStream* s_test = nullptr;
};

/// Expects the bytes of a track from reads of every size and from extraction to a file. `before` sectors precede both
/// image and track.
void ExpectTrackBytes(Track track, const std::string& image, ULONG before = 0) {
  SCOPED_TRACE(testing::Message() << track.blockSize << " to " << track.dataBlock << " of " << image.size());
  const TemporaryFolder folder;
  const std::string path = folder.WriteSparse("image.bin", UHYPER{before} * track.blockSize);
  std::ofstream(path, std::ios::app | std::ios::binary) << image;
  const std::string expected = track.BytesOf(image);
  track.start += before;
  track.end += before;
  for (const ULONG size : {1U, 1000U, 2048U, 65535U, 1000000U}) {
    EXPECT_TRUE(expected == ReadRest(track.Open(path), size)) << "by " << size;
  }
  EXPECT_EQ(S_OK, ExtractToFile(track.Open(path), folder.Path("track")));
  EXPECT_TRUE(expected == folder.Read("track"));
}

TEST_F(ImageStream, EveryReadSizeReturnsTheTrack) {
  const Track tracks[] = {{2352, 0, 16, 5, 45, 0},      {2352, 2352, 16, 5, 45, 0},      {2352, 2048, 16, 5, kEnd, 0},
                          {2352, 2039, 24, 5, kEnd, 0}, {2352, 2336, 16, 5, 45, 0},      {2336, 2048, 8, 5, 45, 0},
                          {2448, 2352, 0, 5, kEnd, 0},  {2448, 2448, 24, 5, kEnd, 0},    {2048, 0, 0, 5, 45, 0},
                          {2352, 1, 2351, 5, 45, 0},    {2352, 2048, 16, 0, 1, 0},       {2352, 2048, 16, 7, 7, 0},
                          {2352, 2048, 16, 7, 3, 0},    {2352, 2048, 16, 5, 250, 12345}, {2352, 0, 16, 5, 50, 12345},
                          {300000, 2048, 16, 0, 2, 0},  {600000, 2048, 16, 0, 1, 0}};
  for (const Track& track : tracks) {
    ExpectTrackBytes(track, m_image);
  }
  constexpr ULONG kAcross = 1826000; // 4 GiB are inside a sector after these.
  ExpectTrackBytes({2352, 0, 16, 5, 150}, m_image, kAcross);
  ExpectTrackBytes({2352, 2048, 16, 5, 150}, m_image, kAcross);
  for (const Track& track : {Track{2352, 0, 16, 3, 100}, {2352, 2048, 16, 3, 100}, {2352, 2048, 16, 20, 21}}) {
    // The image ends before, at the start of, inside and after the data of a sector.
    for (const UINT end :
         {2352U * 2, 2352U * 20 + 10, 2352U * 20 + 16, 2352U * 20 + 700, 2352U * 20 + 2064, 2352U * 21}) {
      ExpectTrackBytes(track, m_image.substr(0, end));
    }
  }
}

TEST_F(ImageStream, BadSourcesAndTargetsAreRefused) {
  for (const std::string& image : {std::string(), m_folder.Path("missing.bin"), m_folder.Path(".")}) {
    EXPECT_FALSE(Track{}.Open(image, nullptr, {}, S_FALSE));
  }
  constexpr UHYPER kTooLarge = UHYPER{1} << 63; // For an offset in a file.
  constexpr UHYPER kWraps = ~UHYPER{0};         // With the offset of the track.
  for (const Track& track : {Track{2352, 2353, 16, 5, 6, 0},
                             {4096, 2449, 16, 5, 6, 0},
                             {4096, 0, 16, 5, 6, 0},
                             {2352, 2048, 16, 5, 6, kTooLarge},
                             {2352, 2048, 16, 5, 6, kWraps}}) {
    EXPECT_FALSE(track.Open(m_path, nullptr, {}, S_FALSE));
  }
  EXPECT_EQ(E_INVALIDARG, ExtractToFile({}, m_path));
  EXPECT_EQ(E_INVALIDARG, ExtractToFile(m_stream, ""));
  for (const std::string& path : {m_folder.Path("missing/track"), std::string("/dev/full"), m_path}) {
    EXPECT_EQ(S_OK, ExtractToFile(m_stream, path)) << "failed writes are not reported; see docs/compatibility.md";
  }
  EXPECT_TRUE(m_image == m_folder.Read("image.bin")) << "extraction to its own image";
  IStream& s = *m_stream.Get();
  EXPECT_EQ(E_INVALIDARG, s.Read(nullptr, 1, nullptr));
  ExpectAll(E_NOTIMPL, s.Write(nullptr, 0, nullptr), s.Seek(0, 0, nullptr), s.SetSize(0),
            s.CopyTo(nullptr, 0, nullptr, nullptr), s.Commit(0), s.Revert(), s.LockRegion(0, 0, 0),
            s.UnlockRegion(0, 0, 0), s.Stat(nullptr, 0), s.Clone(nullptr));
  void* object = &object;
  EXPECT_EQ(E_NOINTERFACE, s.QueryInterface(IID_ISequentialStream, &object));
  EXPECT_EQ(nullptr, object);
}

TEST_F(ImageStream, CallbackSeesEveryStep) {
  EXPECT_EQ(S_OK, Read(1000));
  EXPECT_EQ(S_OK, Read(3000));
  EXPECT_EQ(S_FALSE, Read(4000));
  EXPECT_EQ(96U, m_bytesRead);
  EXPECT_EQ(S_FALSE, Read(10));
  EXPECT_EQ(0U, m_bytesRead);
  EXPECT_EQ(S_FALSE, Read(20));
  const std::vector<Step> steps = {{65, 0, 1000, 0},      {4160, 0, 1000, 0},    {8256, 0, 1000, 1000},
                                   {4160, 0, 3000, 1000}, {8256, 0, 3000, 4000}, {4160, 0, 96, 4000},
                                   {8256, 0, 96, 4096},   {66, 0, 10, 4096},     {66, 0, 20, 4096}};
  EXPECT_EQ(steps, m_steps);
  EXPECT_EQ(4096U, m_total);
  Open({2352, 2048, 16, 0, 3000000});
  EXPECT_EQ(S_OK, Read(1));
  EXPECT_EQ(UHYPER{3000000} * 2048, m_total) << "more than 32 bits";
}

TEST_F(ImageStream, CallbackReplacesTheBuffer) {
  const auto redirect = [this](UINT message, char* buffer, UINT size) {
    m_react = [=](ZSSTREAMPROGRESS* progress) {
      if (progress->nMessage == message) {
        progress->pBuffer = buffer;
        progress->nSize = size;
      }
    };
  };
  redirect(ZSSTREAM_BEGIN, m_buffer.data() + 100, 50); // For the whole call.
  EXPECT_EQ(S_OK, Read(1000));
  EXPECT_EQ(50U, m_bytesRead);
  EXPECT_EQ(std::string(100, '.') + m_data.substr(0, 50) + '.', m_buffer.substr(0, 151));
  EXPECT_EQ((Step{8256, 100, 50, 50}), m_steps.back());
  redirect(ZSSTREAM_BEFOREREAD, nullptr, 50);
  EXPECT_EQ(E_INVALIDARG, Read(1000));
  EXPECT_EQ((Step{66, 0, 1000, 50}), m_steps.back()) << "a failure reports the end of the stream";
  EXPECT_EQ(0U, m_bytesRead);
  redirect(ZSSTREAM_BEFOREREAD, m_buffer.data() + 7, 5000); // For one read, past the end of the track.
  EXPECT_EQ(S_FALSE, Read(1000));
  EXPECT_EQ(5000U, m_bytesRead);
  EXPECT_TRUE((Track{2352, 2048, 16, 2, 5}.BytesOf(m_image).substr(50, 5000)) == m_buffer.substr(7, 5000));
  EXPECT_EQ((Step{8256, 0, 5000, 5050}), m_steps.back());
  std::string elsewhere(300000, '\0');
  redirect(ZSSTREAM_BEFOREREAD, elsewhere.data(), 300000);
  Open(m_longer);
  EXPECT_EQ(S_OK, ExtractToFile(m_stream, m_folder.Path("track")));
  EXPECT_GE(3U * 65535, m_folder.Read("track").size()) << "a size above that of the buffer is cut";
}

TEST_F(ImageStream, CallbackCancels) {
  m_react = [](ZSSTREAMPROGRESS* progress) { progress->fCancel = progress->nMessage == ZSSTREAM_AFTERREAD ? 1 : 0; };
  EXPECT_EQ(E_FAIL, Read(1000));
  EXPECT_EQ(0U, m_bytesRead);
  EXPECT_EQ(m_data.substr(0, 1000), m_buffer.substr(0, 1000));
  m_react = [](ZSSTREAMPROGRESS*) {};
  EXPECT_EQ(E_FAIL, Read(1000));
  EXPECT_EQ((Step{8256, 0, 1000, 2000}), m_steps.back());

  for (const std::size_t reads : {0U, 3U, 4U, 5U, 9U}) { // Around the size that extraction buffers.
    Open(m_longer);
    m_react = [=](ZSSTREAMPROGRESS* progress) { progress->fCancel = progress->qwDone > reads * 65535 ? 1 : 0; };
    EXPECT_EQ(S_OK, ExtractToFile(m_stream, m_folder.Path("track")));
    EXPECT_TRUE(m_longer.BytesOf(m_image).substr(0, reads * 65535) == m_folder.Read("track")) << reads;
  }
}

/// Files with a range of bytes that cannot be read.
class FailingFiles final : public FaultyFiles {
public:
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override {
    const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
    if (position < badEnd && position + static_cast<off_t>(count) > badStart) {
      errno = EIO;
      if (position >= badStart) {
        return -1;
      }
      count = static_cast<std::size_t>(badStart - position); // As disks do, the good bytes first.
    }
    return FaultyFiles::Read(descriptor, buffer, count);
  }

  off_t badStart = 0;
  off_t badEnd = 0;
};

TEST_F(ImageStream, BadSectorCostsNoOtherByte) {
  constexpr HRESULT kDeviceError = MakeResult(0x8007045D); // System error 1117.
  for (const UINT block : {2352U, 2048U}) {
    Track track = m_longer;
    track.dataBlock = block;
    const std::string expected = track.BytesOf(m_image);
    for (const ULONG bad : {0U, 1U, 100U, 166U, 167U, 306U}) {
      for (const off_t offset : {0, 1500}) { // The bytes of the sector before the bad ones are kept, too.
        for (const ULONG size : {1000U, 2048U, 65535U, 1000000U}) {
          SCOPED_TRACE(testing::Message() << block << ": " << bad << " at " << offset << " by " << size);
          FailingFiles files;
          files.badEnd = static_cast<off_t>(2352) * (track.start + bad + 1);
          files.badStart = files.badEnd - 2352 + offset;
          const ComPtr<IStream> stream = track.Open(m_path);
          std::string bytes = ReadRest(stream, size, kDeviceError);
          EXPECT_LE(bad * block, bytes.size());
          bytes += ReadRest(stream, size, kDeviceError);
          EXPECT_TRUE(ReadRest(stream, size, kDeviceError).empty()) << "while it is bad";
          files.badEnd = 0;
          files.failing = block == 2048 ? "Seek" : "none"; // Whole sectors are read without seeks.
          bytes += ReadRest(stream, size, block == 2048 ? kDeviceError : S_FALSE);
          bytes += ReadRest(stream, size, block == 2048 ? kDeviceError : S_FALSE);
          files.failing = "none";
          bytes += ReadRest(stream, size);
          EXPECT_TRUE(bytes == expected);
        }
      }
    }
  }
}

TEST_F(ImageStream, ReadsGoOnAfterTheImageGrew) {
  const std::string expected = m_longer.BytesOf(m_image);
  for (const ULONG size : {1000U, 2048U, 65535U}) {
    const std::string path = m_folder.Write("grown.bin", m_image.substr(0, 2352 * 40 - 100));
    const ComPtr<IStream> stream = m_longer.Open(path);
    std::string bytes = ReadRest(stream, size);
    m_folder.Write("grown.bin", m_image);
    bytes += ReadRest(stream, size);
    EXPECT_TRUE(bytes == expected) << size;
  }
}

TEST_F(ImageStream, TwoBlocksTakeFourSystemCalls) {
  for (const ULONG size : {1U, 1000U, 2048U, 65535U}) {
    FaultyFiles files;
    const ComPtr<IStream> stream = m_longer.Open(m_path);
    files.points.Start();
    ReadRest(stream, size);
    EXPECT_EQ(4, files.points.Count()) << "a seek and a read of each block, by " << size;
  }
}

} // namespace
