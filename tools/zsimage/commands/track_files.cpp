#include "commands/track_files.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "image/disc_text.h"
#include "image/sheets.h"
#include "output/failure.h"
#include "platform/text.h"

namespace {

/// Returns a name in a form that is valid on all file systems.
std::string AsFileName(std::string name) {
  constexpr double kLongestName = 200; // Bytes. File systems allow 255, with the extension.
  const auto isForbidden = [](char c) { return std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos; };
  std::replace_if(name.begin(), name.end(), isForbidden, '_');
  name = CutToFit(name, kLongestName, &std::string_view::size);
  name.erase(name.find_last_not_of(". ") + 1);
  return name;
}

} // namespace

const TrackFormat& TrackFormatOf(const std::string& name) {
  const std::string extension = name.substr(name.find_last_of("./") + 1);
  for (const char* other : {"mp3", "ogg", "opus", "m4a", "wave"}) {
    FailIf(lstrcmpiA(extension, other) == 0, name, E_INVALIDARG,
           "sound files are .wav, .aiff or .flac; give a name with one of these extensions");
  }
  const auto* const known = std::find_if(std::begin(kTrackFormats), std::end(kTrackFormats), [&](const auto& format) {
    return lstrcmpiA(extension, format.extension) == 0;
  });
  return known == std::end(kTrackFormats) ? kTrackFormats[0] : *known;
}

std::vector<TrackFile> NameTrackFiles(const imagefile::Image& image, unsigned session, const TrackFormat& format) {
  const ZSCUESHEET& sheet = SessionOf(image, session).Record();
  const std::string performer = TerminalText(sheet.ZSCDTEXT.bstrPerformer);
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  std::vector<TrackFile> files;
  for (const ZSTRACK& track : Tracks(sheet)) {
    const std::string number = fmt::format("{:02}", files.size() + 1);
    const std::string title = titles.Show(track.bstrTitle);
    const std::string artist = performers.Show(track.bstrPerformer);
    const std::string name = format.isSound ? (image.Sessions().size() > 1 ? fmt::format("{}-", session) : "") +
                                                  AsFileName(fmt::format("{} {}", number, title))
                                            : fmt::format("session-{}-track-{}", session, number);
    files.push_back({name + "." + format.extension,
                     {title, artist.empty() ? performer : artist, TerminalText(sheet.ZSCDTEXT.bstrTitle), number}});
  }
  return files;
}
