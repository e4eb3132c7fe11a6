#include "sound/sound_file.h"

#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "files/input_file.h"
#include "output/failure.h"
#include "output/terminal_text.h"

namespace {

constexpr int kRate = 44100;
constexpr int kChannels = 2;
constexpr std::size_t kHeaderBytes = 12; ///< RIFF or FORM header: type, size of the rest, kind.
constexpr UHYPER kOpenEnd = 0xFFFFFFF0;  ///< Programs that write to a pipe state this size or more.

/// Returns the bytes that the header of a WAVE or AIFF file claims; 0 if it claims none.
UHYPER ClaimedBytes(const std::string& path) {
  const std::string header = ReadBytes(path, 0, kHeaderBytes);
  const bool isBigEndian = header.starts_with("FORM");
  if (header.size() < kHeaderBytes || (!isBigEndian && !header.starts_with("RIFF"))) {
    return 0;
  }
  UHYPER size = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    size = size << 8 | static_cast<BYTE>(header[isBigEndian ? 4 + i : 7 - i]);
  }
  return size >= kOpenEnd ? 0 : size + 8;
}

/// Sub-formats of libsndfile in the order of their numbers, from SF_FORMAT_PCM_S8 on.
constexpr const char* kSamples[] = {"8 bits", "16 bits", "24 bits", "32 bits", "8 bits", "32 bits of floating point"};

/// Describes the samples of a sound file: "48 kHz, 24 bits, stereo".
std::string Describe(const SF_INFO& info) {
  const auto kind = static_cast<std::size_t>(info.format & SF_FORMAT_SUBMASK);
  return fmt::format("{:g} kHz, {}, {}", info.samplerate / 1000.0,
                     kind - 1 < std::size(kSamples) ? kSamples[kind - 1] : "compressed",
                     info.channels == 1   ? "mono"
                     : info.channels == 2 ? "stereo"
                                          : Counted(static_cast<UHYPER>(info.channels), "channel"));
}

bool IsReadableType(int format) {
  const int type = format & SF_FORMAT_TYPEMASK;
  return type == SF_FORMAT_WAV || type == SF_FORMAT_WAVEX || type == SF_FORMAT_RF64 || type == SF_FORMAT_AIFF ||
         type == SF_FORMAT_FLAC;
}

constexpr const char* kTooShort = "the sound file is damaged: it has fewer samples than its header states";

} // namespace

void SoundClose::operator()(sf_private_tag* file) const noexcept { sf_close(file); }

SoundReader::SoundReader(const std::string& path) : m_path(path) {
  const std::optional<UHYPER> size = FileSize(path); // Opening a pipe would wait for its writer.
  const int descriptor = size ? open(path.c_str(), O_RDONLY | O_CLOEXEC) : -1;
  if (descriptor == -1) {
    Fail(path, ZSE_CANNOTOPENIMAGE, "the file cannot be opened for reading");
  }
  SF_INFO info{};
  m_file.reset(sf_open_fd(descriptor, SFM_READ, &info, SF_TRUE));
  if (m_file == nullptr || !IsReadableType(info.format)) {
    Fail(path, ZSE_BADIMAGE, "this is no WAVE, AIFF or FLAC file, or it is damaged; convert it to one of these");
  }
  if (info.samplerate != kRate || info.channels != kChannels || (info.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16) {
    Fail(path, ZSE_BADIMAGE,
         "its samples are {}, and an audio CD has 44.1 kHz, 16 bits, stereo; convert the file first", Describe(info));
  }
  if (const UHYPER claimed = ClaimedBytes(path); claimed > *size) {
    Fail(path, ERROR_HANDLE_EOF, "it is cut off: its header states {} bytes, and the file has {}", claimed, *size);
  }
  m_bytes = static_cast<UHYPER>(std::max<sf_count_t>(info.frames, 0)) * kFrameBytes;
}

void SoundReader::Seek(UHYPER offset) {
  const auto frame = static_cast<sf_count_t>(offset / kFrameBytes);
  if (sf_seek(m_file.get(), frame, SEEK_SET) != frame) {
    throw Failure(m_path, kTooShort, ERROR_HANDLE_EOF);
  }
}

void SoundReader::Read(BYTE* data, std::size_t size) {
  std::vector<short> samples(size / sizeof(short));
  const auto frames = static_cast<sf_count_t>(size / kFrameBytes);
  if (sf_readf_short(m_file.get(), samples.data(), frames) != frames) {
    throw Failure(m_path, kTooShort, ERROR_HANDLE_EOF);
  }
  for (const short sample : samples) {
    *data++ = static_cast<BYTE>(sample);
    *data++ = static_cast<BYTE>(sample >> 8);
  }
}

/// Output of libsndfile. An exception must not pass through C code, so the first is stored and rethrown later.
struct SoundWriter::Stream {
  OutputFile* output;
  sf_count_t position = 0;
  sf_count_t size = 0;
  std::exception_ptr failure;

  static Stream& Of(void* user) { return *static_cast<Stream*>(user); }

  static sf_count_t Size(void* user) { return Of(user).size; }
  static sf_count_t Tell(void* user) { return Of(user).position; }
  static sf_count_t Read(void* /*data*/, sf_count_t /*count*/, void* /*user*/) { return 0; }

  static sf_count_t Seek(sf_count_t offset, int whence, void* user) {
    Stream& stream = Of(user);
    const sf_count_t base = whence == SEEK_CUR ? stream.position : whence == SEEK_END ? stream.size : 0;
    return stream.position = base + offset;
  }

  static sf_count_t Write(const void* data, sf_count_t count, void* user) {
    Stream& stream = Of(user);
    try {
      stream.output->WriteAt(static_cast<UHYPER>(stream.position), static_cast<const BYTE*>(data),
                             static_cast<std::size_t>(count));
    } catch (...) {
      stream.failure = stream.failure ? stream.failure : std::current_exception();
      return 0;
    }
    stream.position += count;
    stream.size = std::max(stream.size, stream.position);
    return count;
  }
};

SoundWriter::SoundWriter(OutputFile* output, const std::string& path, SoundFormat format, const SoundTags& tags)
    : m_path(path), m_stream(new Stream{output, 0, 0, nullptr}) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = kChannels;
  info.format = SF_FORMAT_PCM_16 | (format == SoundFormat::Wave   ? SF_FORMAT_WAV
                                    : format == SoundFormat::Aiff ? SF_FORMAT_AIFF
                                                                  : SF_FORMAT_FLAC);
  SF_VIRTUAL_IO calls{Stream::Size, Stream::Seek, Stream::Read, Stream::Write, Stream::Tell};
  m_file.reset(sf_open_virtual(&calls, SFM_WRITE, &info, m_stream.get()));
  if (m_file == nullptr) {
    ThrowFailure();
  }
  const std::pair<int, const std::string&> texts[] = {{SF_STR_TITLE, tags.title},
                                                      {SF_STR_ARTIST, tags.artist},
                                                      {SF_STR_ALBUM, tags.album},
                                                      {SF_STR_TRACKNUMBER, tags.trackNumber}};
  for (const auto& [kind, text] : texts) {
    if (!text.empty()) { // The call fails for the album of an AIFF file, which has no such tag.
      sf_set_string(m_file.get(), kind, text.c_str());
    }
  }
}

SoundWriter::~SoundWriter() = default;

void SoundWriter::ThrowFailure() const {
  if (m_stream->failure) {
    std::rethrow_exception(m_stream->failure);
  }
  Fail(m_path, E_FAIL, "the sound file cannot be written: {}", sf_strerror(m_file.get()));
}

void SoundWriter::Write(const BYTE* data, std::size_t size) {
  std::vector<short> samples(size / sizeof(short));
  for (short& sample : samples) {
    sample = static_cast<short>(data[0] | data[1] << 8);
    data += sizeof(short);
  }
  const auto frames = static_cast<sf_count_t>(size / kFrameBytes);
  if (sf_writef_short(m_file.get(), samples.data(), frames) != frames || m_stream->failure) {
    ThrowFailure();
  }
}

void SoundWriter::Finish() {
  sf_close(m_file.release());
  if (m_stream->failure) {
    std::rethrow_exception(m_stream->failure);
  }
}
