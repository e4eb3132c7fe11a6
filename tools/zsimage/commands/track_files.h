/// @file
/// Names, formats and tags of the files that tracks are saved to.
#pragma once

#include <string>
#include <vector>

#include "image/open_image.h"
#include "sound/sound_file.h"

struct TrackFormat {
  const char* extension;
  bool isSound;
  UINT blockSize; ///< Bytes that are saved of each sector; 0 for all.
};
inline constexpr TrackFormat kTrackFormats[] = {{"bin", false, 0},    {"iso", false, 2048}, {"wav", true, 2352},
                                                {"aiff", true, 2352}, {"aif", true, 2352},  {"flac", true, 2352}};

/// Returns the format for the extension of a path, the first format for other extensions. @throws Failure for the
/// extension of another kind of sound file.
const TrackFormat& TrackFormatOf(const std::string& path);

/// A track and the file that it is saved to.
struct TrackFile {
  unsigned session; ///< From 1.
  unsigned number;  ///< From 1.
  const imagefile::Track& track;
  const TrackFormat& format;
  std::string path;
  SoundTags tags;
};

/// Lists files for the tracks of a session: "session-1-track-03.bin" in a folder, or "03 Title.flac" for sound files.
/// Characters of titles that file systems do not allow are replaced. @throws Failure if there is no such session.
std::vector<TrackFile> ListTrackFiles(const imagefile::Image& image, unsigned session, const TrackFormat& format,
                                      const std::string& folder);
