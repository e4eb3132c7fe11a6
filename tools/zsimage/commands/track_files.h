/// @file
/// Names, formats and tags of the files that tracks are saved to.
#pragma once

#include <string>
#include <vector>

#include "image/open_image.h"
#include "sound/sound_file.h"

enum class TrackFormat { Sectors, UserData, Wave, Aiff, Flac };

inline constexpr const char* kTrackFormats[] = {"bin", "iso", "wav", "aiff", "flac"}; ///< By TrackFormat.

inline bool IsSound(TrackFormat format) { return format >= TrackFormat::Wave; }

/// Returns the format for a name of kTrackFormats or for the extension of a path; Sectors for any other.
TrackFormat TrackFormatOf(const std::string& name);

/// Returns the tags of the sound files for a session's tracks.
std::vector<SoundTags> TagsOf(const ZSCUESHEET& sheet);

/// Returns the name of a sound file: "03 Title.flac", with the session before the number if there are several.
/// Characters that file systems do not allow are replaced.
std::string SoundFileName(const imagefile::Image& image, unsigned session, const SoundTags& tags, TrackFormat format);
