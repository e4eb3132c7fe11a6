#include "image/disc_text.h"

#include <fmt/format.h>

#include "disc/msf.h"

namespace {

/// Returns the words at an index; the first ones for an index outside the table.
template <std::size_t N> const char* WordsAt(const char* const (&words)[N], LONG index) {
  return words[index > 0 && index < static_cast<LONG>(N) ? index : 0];
}

} // namespace

const char* DescribeKind(::ZSTYPEPROJECT kind) {
  static constexpr const char* kWords[] = {"unknown",
                                           "data disc",
                                           "audio CD",
                                           "mixed mode CD, audio and data",
                                           "CD Plus, an audio and a data session",
                                           "Video CD (CD-Bridge)"};
  return kind == ZSTYPEPROJECT_DATAMULTISESSION ? "multi-session disc" : WordsAt(kWords, kind);
}

const char* DescribeFormat(zsimgformat format) {
  static constexpr const char* kWords[] = {
      "plain sector file",     "CUE sheet", "unknown", "Nero image", "CloneCD description", "native TOC file",
      "Media Descriptor image"};
  return WordsAt(kWords, format);
}

std::string DescribeMode(ZSMODETYPE mode) {
  static constexpr const char* kWords[] = {"", "mode 1", "", "", "mode 2", "mode 2 form 2", "", "mode 2 mixed"};
  const std::string words = mode == ZSMODE_AUDIO ? "audio" : WordsAt(kWords, mode);
  return words.empty() ? fmt::format("unknown ({})", static_cast<int>(mode)) : words;
}

std::string Duration(UHYPER sectors) {
  return fmt::format("{:02}:{:02}:{:02}", sectors / kFramesPerMinute, sectors % kFramesPerMinute / kFramesPerSecond,
                     sectors % kFramesPerSecond);
}

std::string DiscTime(ULONG lba) {
  const ULONG time = LbaToMsf(static_cast<LONG>(lba));
  return time == kNoTime ? "-" : fmt::format("{:02}:{:02}:{:02}", MinutesOf(time), SecondsOf(time), FramesOf(time));
}

std::string DescribeMissing(ULONG missing) {
  return missing == 0 ? "" : fmt::format("cut off, {} missing", Counted(missing, "sector"));
}
