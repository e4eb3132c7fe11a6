/// @file
/// WAVE, AIFF and FLAC files, read and written through libsndfile.
///
/// The samples of an audio CD (Red Book): 44.1 kHz, 16 bits, stereo. In an image they are little-endian, left before
/// right: 4 bytes a frame, 588 frames a sector.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "files/output_file.h"

inline constexpr UINT kFrameBytes = 4;

/// A file and its content, which has the byte order of an image.
struct SampleSource {
  std::string path;
  bool isSound; ///< False for a file of raw sectors.
  UHYPER bytes; ///< Without headers and compression.
  /// Returns `size` bytes from an offset, both of them multiples of kFrameBytes for a sound file. @throws Failure if
  /// the file has fewer.
  std::function<std::string(UHYPER offset, std::size_t size)> read;
};

/// Opens a sound file. @throws Failure if it cannot be read, is cut off, or has other samples than an audio CD.
SampleSource OpenSound(const std::string& path);

/// Swaps the two bytes of each sample.
template <class Byte> void SwapSamples(Byte* data, std::size_t size) {
  for (std::size_t i = 1; i < size; i += 2) {
    std::swap(data[i - 1], data[i]);
  }
}

/// Tags of a sound file, in UTF-8. Empty tags are not written.
struct SoundTags {
  std::string title;
  std::string artist;
  std::string album;
  std::string trackNumber;
};

/// Receives bytes of whole frames.
using SampleSink = std::function<void(const BYTE* data, std::size_t size)>;

/// Writes a sound file. @param extension "wav", "flac", "aiff" or "aif". @param produce Passes all samples to the sink.
/// @throws Failure as OutputFile does.
void WriteSound(OutputFile* output, const std::string& path, const std::string& extension, const SoundTags& tags,
                const std::function<void(const SampleSink& sink)>& produce);
