/// @file
/// WAVE, AIFF and FLAC files, read and written through libsndfile.
///
/// The samples of an audio CD (Red Book): 44.1 kHz, 16 bits, stereo. In an image they are little-endian, left before
/// right: 4 bytes a frame, 588 frames a sector.
#pragma once

#include <memory>
#include <string>

#include "files/output_file.h"

struct sf_private_tag; ///< A file of libsndfile.

struct SoundClose {
  void operator()(sf_private_tag* file) const noexcept;
};
using UniqueSound = std::unique_ptr<sf_private_tag, SoundClose>;

inline constexpr UINT kFrameBytes = 4;

/// Reader of a sound file.
class SoundReader {
public:
  /// @throws Failure if the file cannot be read, is cut off, or has other samples than an audio CD.
  explicit SoundReader(const std::string& path);

  /// Bytes of all samples, without headers and compression.
  UHYPER Bytes() const noexcept { return m_bytes; }
  /// Moves to an offset, a multiple of kFrameBytes. @throws Failure if the file has no such offset.
  void Seek(UHYPER offset);
  /// Reads samples as little-endian bytes. @param size Multiple of kFrameBytes. @throws Failure if fewer are left.
  void Read(BYTE* data, std::size_t size);

private:
  std::string m_path;
  UHYPER m_bytes = 0;
  UniqueSound m_file;
};

/// Tags of a sound file, in UTF-8. Empty tags are not written.
struct SoundTags {
  std::string title;
  std::string artist;
  std::string album;
  std::string trackNumber;
};

enum class SoundFormat { Wave, Aiff, Flac };

/// Writer of a sound file into an output file.
class SoundWriter {
public:
  /// @throws Failure if the header cannot be written.
  SoundWriter(OutputFile* output, const std::string& path, SoundFormat format, const SoundTags& tags);
  SoundWriter(const SoundWriter&) = delete;
  SoundWriter& operator=(const SoundWriter&) = delete;
  ~SoundWriter();

  /// Appends samples as little-endian bytes. @param size Multiple of kFrameBytes. @throws Failure as OutputFile does.
  void Write(const BYTE* data, std::size_t size);
  /// Completes the header. @throws Failure as Write does.
  void Finish();

private:
  struct Stream;
  [[noreturn]] void ThrowFailure() const;

  std::string m_path;
  std::unique_ptr<Stream> m_stream;
  UniqueSound m_file;
};
