#include "commands/track_files.h"

#include <algorithm>

#include <fmt/format.h>

#include "image/disc_words.h"
#include "image/host.h"
#include "platform/text.h"

namespace {

constexpr std::size_t kLongestTitle = 200; ///< Bytes. File systems allow 255 in a name.

/// Returns a title in a form that is valid in a file name on all systems.
std::string AsFileName(std::string title) {
  const auto isForbidden = [](char c) { return std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos; };
  std::replace_if(title.begin(), title.end(), isForbidden, '_');
  if (title.size() > kLongestTitle) {
    std::size_t end = kLongestTitle;
    while ((static_cast<BYTE>(title[end]) & 0xC0U) == 0x80) { // Inside a UTF-8 character.
      --end;
    }
    title.resize(end);
  }
  title.erase(title.find_last_not_of(". ") + 1);
  return title;
}

} // namespace

TrackFormat TrackFormatOf(const std::string& name) {
  const std::string upper = platform::Upper(name.substr(name.find_last_of("./") + 1));
  return upper == "ISO"                      ? TrackFormat::UserData
         : upper == "WAV"                    ? TrackFormat::Wave
         : upper == "AIFF" || upper == "AIF" ? TrackFormat::Aiff
         : upper == "FLAC"                   ? TrackFormat::Flac
                                             : TrackFormat::Sectors;
}

std::vector<SoundTags> TagsOf(const ZSCUESHEET& sheet) {
  const std::string performer = TerminalText(sheet.ZSCDTEXT.bstrPerformer);
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  std::vector<SoundTags> tags;
  for (const ZSTRACK& track : Tracks(sheet)) {
    const std::string artist = performers.Show(track.bstrPerformer);
    tags.push_back({titles.Show(track.bstrTitle), artist.empty() ? performer : artist,
                    TerminalText(sheet.ZSCDTEXT.bstrTitle), fmt::format("{:02}", tags.size() + 1)});
  }
  return tags;
}

std::string SoundFileName(const imagefile::Image& image, unsigned session, const SoundTags& tags, TrackFormat format) {
  const std::string title = AsFileName(tags.title);
  return fmt::format("{}{}{}{}.{}", image.Sessions().size() > 1 ? fmt::format("{}-", session) : "", tags.trackNumber,
                     title.empty() ? "" : " ", title, kTrackFormats[static_cast<std::size_t>(format)]);
}
