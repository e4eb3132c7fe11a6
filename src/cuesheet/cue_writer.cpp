#include "cuesheet/cue_writer.h"

#include <cstdio>

#include "disc/msf.h"
#include "disc/result_codes.h"
#include "disc/track_table.h"
#include "foundation/file.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

constexpr std::size_t kCatalogLength = 13;
constexpr std::size_t kIsrcLength = 12;

/// Formats numbers. The text must be shorter than the buffer.
template <class... Numbers> std::string Format(const char* format, Numbers... numbers) {
  char text[128];
  const int length = std::snprintf(text, sizeof(text), format, numbers...);
  return {text, static_cast<std::size_t>(length)};
}

class CueWriter {
public:
  explicit CueWriter(const std::string& path) : m_path(path) {}

  bool Create() noexcept {
    return m_file.Open(m_path, GENERIC_WRITE, FILE_SHARE_NONE, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
  }

  void WriteDisc(const ::ZSCDTEXT& text) {
    const std::string catalog = NarrowText(text.bstrMCN);
    if (!catalog.empty()) {
      WriteLine("CATALOG \"" + std::string(CutAtCharacter(catalog, kCatalogLength)) + "\"");
    }
    const std::string upper = platform::Upper(m_path);
    if (text.CDTextPresent == VARIANT_TRUE) {
      std::string companion = upper;
      RenameExtension(&companion, ".CDT");
      WriteLine("CDTEXTFILE \"" + platform::FileName(companion) + "\"");
    }
    WriteLine("FILE \"" + platform::FileName(Replaced(upper, ".CUE", ".BIN")) + "\" BINARY");
  }

  void WriteTrack(const ZSTRACK& track) {
    WriteLine(Format("  TRACK %02d ", static_cast<LONG>(track.TNO)) + ModeText(track));
    const std::string isrc = NarrowText(track.bstrISRC);
    if (!isrc.empty()) {
      WriteLine("    ISRC " + std::string(CutAtCharacter(isrc, kIsrcLength)));
    }
    const std::string flags = FlagText(track.Flags);
    if (!flags.empty()) {
      WriteLine("    FLAGS " + flags);
    }
    if (track.Mode == ZSMODE_AUDIO && track.Pregap != 0 && track.dwLBA != 0) {
      WriteIndex(0, track.dwLBA - static_cast<ULONG>(track.Pregap));
    }
    WriteIndex(1, track.dwLBA);
  }

private:
  static std::string ModeText(const ZSTRACK& track) {
    const LONG blockSize = track.BlockSize;
    if (track.Mode == ZSMODE_1) {
      return Format("MODE1/%d", blockSize);
    }
    if (IsMode2(track.Mode)) {
      return Format("MODE2/%d", blockSize);
    }
    return track.Mode == ZSMODE_AUDIO ? "AUDIO" : "";
  }

  /// Returns the words of the flags that are set, each followed by a blank.
  static std::string FlagText(LONG flags) {
    std::string text;
    text += (flags & ZSTRACKFLAG_DCP) != 0 ? "DCP " : "";
    text += (flags & ZSTRACKFLAG_PRE) != 0 ? "PRE " : "";
    text += (flags & ZSTRACKFLAG_4CH) != 0 ? "4CH " : "";
    return text;
  }

  /// Times count from the start of the file, without the pause of a disc: sector 150 is 00:02:00.
  void WriteIndex(int number, ULONG position) {
    const ULONG time = LbaToMsf(static_cast<LONG>(position - ULONG{kPause}));
    WriteLine(Format("    INDEX %02d %02u:%02u:%02u", number, MinutesOf(time), SecondsOf(time), FramesOf(time)));
  }

  void WriteLine(std::string line) {
    line += "\r\n";
    m_file.Write(line.data(), static_cast<DWORD>(line.size()));
  }

  const std::string& m_path;
  CZSFile m_file;
};

} // namespace

HRESULT WriteCueFile(const std::string& path, const ZSCUESHEET& sheet) {
  CueWriter writer(path);
  if (!writer.Create()) {
    return E_FAIL;
  }
  writer.WriteDisc(sheet.ZSCDTEXT);
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    writer.WriteTrack(sheet.pZSTracks[i]);
  }
  return S_OK;
}
