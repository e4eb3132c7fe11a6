#include "commands/track_files.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "files/paths.h"
#include "image/disc_text.h"
#include "output/failure.h"
#include "platform/text.h"

namespace {

/// Returns a name in a form that is valid on all file systems.
std::string AsFileName(std::string name) {
  constexpr double kLongestName = 200; // Bytes. File systems allow 255, with the extension.
  const auto isForbidden = [](char c) { return std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos; };
  std::ranges::replace_if(name, isForbidden, '_');
  name = CutToFit(name, kLongestName, &std::string_view::size);
  name.erase(name.find_last_not_of(". ") + 1);
  return name;
}

} // namespace

const TrackFormat& TrackFormatOf(const std::string& path) {
  for (const char* other : {".mp3", ".ogg", ".opus", ".m4a", ".wave"}) {
    FailIf(HasExtension(path, other), path, E_INVALIDARG,
           "sound files are .wav, .aiff or .flac; give a name with one of these extensions");
  }
  const auto* known = std::ranges::find_if(kTrackFormats, [&](const TrackFormat& format) {
    return HasExtension(path, std::string(".") + format.extension);
  });
  return known == std::end(kTrackFormats) ? kTrackFormats[0] : *known;
}

std::vector<TrackFile> ListTrackFiles(const imagefile::Image& image, unsigned session, const TrackFormat& format,
                                      const std::string& folder) {
  const ::ZSCDTEXT& disc = SessionOf(image, session).Record().ZSCDTEXT;
  TextColumn titles(disc.bstrTitle);
  TextColumn performers(disc.bstrPerformer);
  std::vector<TrackFile> files;
  for (const imagefile::Track& track : SessionOf(image, session).Tracks()) {
    const auto number = static_cast<unsigned>(files.size()) + 1;
    const std::string digits = fmt::format("{:02}", number);
    const std::string title(platform::Trim(titles.Show(track.Record().bstrTitle)));
    const std::string artist(platform::Trim(performers.Show(track.Record().bstrPerformer)));
    const std::string name = format.isSound ? (image.Sessions().size() > 1 ? fmt::format("{}-", session) : "") +
                                                  AsFileName(fmt::format("{} {}", digits, title))
                                            : fmt::format("session-{}-track-{}", session, digits);
    files.push_back(
        {session,
         number,
         track,
         format,
         fmt::format("{}/{}.{}", folder, name, format.extension),
         {title, artist.empty() ? TerminalText(disc.bstrPerformer) : artist, TerminalText(disc.bstrTitle), digits}});
  }
  return files;
}
