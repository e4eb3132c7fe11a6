#include "sound/sound_file.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <sndfile.hh>

#include "files/input_file.h"
#include "image/raw_sector.h"
#include "output/failure.h"
#include "output/terminal_text.h"
#include "platform/last_error.h"

namespace {

// The bytes of samples are those of an image.
static_assert(std::endian::native == std::endian::little);

constexpr int kRate = 44100;
constexpr int kChannels = 2;

/// Throws if a WAVE or AIFF file ends before the samples that its header states; libsndfile reads what is there. After
/// 12 bytes, the file is a list of chunks: four letters, a size of 32 bits, and an even number of bytes.
void RequireSamples(const std::string& path, bool isBigEndian) {
  constexpr UHYPER kUnknown = 0xFFFFFFF0; // Programs that write into a pipe state this size or a larger one.
  const UHYPER fileBytes = FileSize(path).value_or(0);
  UHYPER begin = 12;
  for (int chunks = 0; chunks < 1000 && begin + 8 <= fileBytes; ++chunks) {
    std::string header = ReadBytes(path, begin, 8);
    header.resize(8);
    if (isBigEndian) {
      std::reverse(header.begin() + 4, header.end());
    }
    const UHYPER size = LittleEndian32(reinterpret_cast<const BYTE*>(header.data()) + 4);
    begin += 8;
    if (header.starts_with("data") || header.starts_with("SSND")) {
      FailIf(size < kUnknown && size > fileBytes - begin, path, ERROR_HANDLE_EOF,
             "it is cut off: its header states {} bytes of samples, and {} follow", size, fileBytes - begin);
      return;
    }
    begin += size + size % 2;
  }
  Fail(path, ERROR_HANDLE_EOF, "it is cut off or damaged: no samples follow its header");
}

/// Describes the samples of a sound file: "48 kHz, 24 bits, stereo".
std::string Describe(const SndfileHandle& file) {
  // In the order of libsndfile's numbers, from SF_FORMAT_PCM_S8 on.
  constexpr const char* kSamples[] = {"8 bits", "16 bits", "24 bits", "32 bits", "8 bits", "32 bits of floating point"};
  const auto kind = static_cast<std::size_t>(file.format() & SF_FORMAT_SUBMASK);
  return fmt::format("{:g} kHz, {}, {}", file.samplerate() / 1000.0,
                     kind - 1 < std::size(kSamples) ? kSamples[kind - 1] : "compressed",
                     file.channels() == 1   ? "mono"
                     : file.channels() == 2 ? "stereo"
                                            : Counted(static_cast<UHYPER>(file.channels()), "channel"));
}

} // namespace

SampleSource OpenSound(const std::string& path) {
  const std::string type = SoundFileType(path);
  FailIf(type.empty(), path, ZSE_BADIMAGE, "this is no WAVE, AIFF or FLAC file; convert it to one of these");
  SndfileHandle file(path);
  FailIf(file.rawHandle() == nullptr, path, ZSE_BADIMAGE, "it cannot be read as a sound file: {}", file.strError());
  FailIf(file.samplerate() != kRate || file.channels() != kChannels ||
             (file.format() & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16,
         path, ZSE_BADIMAGE,
         "its samples are {}, and an audio CD has 44.1 kHz, 16 bits, stereo; convert the file first", Describe(file));
  FailIf(type == "fLaC" && file.frames() <= 0, path, ZSE_BADIMAGE,
         "its header states no length, as if written into a pipe; write the file again with 'flac'");
  if (type != "fLaC") {
    RequireSamples(path, type == "FORM");
  }
  const auto read = [path, file, next = sf_count_t{0}](UHYPER offset, std::size_t count) mutable {
    const auto first = static_cast<sf_count_t>(offset / kFrameBytes);
    const auto frames = static_cast<sf_count_t>(count / kFrameBytes);
    std::string bytes(count, '\0');
    FailIf((first != next && file.seek(first, SEEK_SET) != first) ||
               file.readf(reinterpret_cast<short*>(bytes.data()), frames) != frames,
           path, ERROR_HANDLE_EOF, "the sound file is damaged: it has fewer samples than its header states");
    next = first + frames;
    return bytes;
  };
  return {path, true, static_cast<UHYPER>(std::max<sf_count_t>(file.frames(), 0)) * kFrameBytes, read};
}

void WriteSound(OutputFile* output, const std::string& path, const std::string& extension, const SoundTags& tags,
                const std::function<void(const SampleSink& sink)>& produce) {
  const int type = extension == "wav" ? SF_FORMAT_WAV : extension == "flac" ? SF_FORMAT_FLAC : SF_FORMAT_AIFF;
  const int descriptor = output->Descriptor();
  const auto require = [&](bool isWritten) {
    FailIf(!isWritten, path, platform::SystemError(errno), "the sound file cannot be written: {}",
           std::generic_category().message(errno));
  };
  SndfileHandle file(descriptor, false, SFM_WRITE, type | SF_FORMAT_PCM_16, kChannels, kRate);
  require(file.rawHandle() != nullptr);
  const std::pair<int, const std::string&> texts[] = {{SF_STR_TITLE, tags.title},
                                                      {SF_STR_ARTIST, tags.artist},
                                                      {SF_STR_ALBUM, tags.album},
                                                      {SF_STR_TRACKNUMBER, tags.trackNumber}};
  for (const auto& [kind, text] : texts) {
    if (!text.empty()) { // The call fails for tags that AIFF lacks: album and number.
      file.setString(kind, text.c_str());
    }
  }
  sf_count_t written = 0;
  produce([&](const BYTE* data, std::size_t size) {
    output->ThrowIfCancelled();
    const auto frames = static_cast<sf_count_t>(size / kFrameBytes);
    require(file.writef(reinterpret_cast<const short*>(data), frames) == frames);
    written += frames;
  });
  file = SndfileHandle(); // Writes the rest, without a report of failures. So the last frame is read back.
  lseek(descriptor, 0, SEEK_SET);
  file = SndfileHandle(descriptor, false);
  short frame[kChannels];
  require(file.frames() == written && (written == 0 || (file.seek(-1, SEEK_END) >= 0 && file.readf(frame, 1) == 1)));
}
