#include "cuesheet/cue_lines.h"

#include <string>

#include "disc/msf.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"
#include "platform/text.h"

namespace {

constexpr std::size_t kMaxMcn = 13;
constexpr std::size_t kMaxIsrc = 12;
constexpr LONG kDefaultBlockSize = 2048;

bool Contains(std::string_view text, std::string_view part) noexcept {
  return text.find(part) != std::string_view::npos;
}

/// Returns the value of a text line: the text between the first and the last quote or, without two, the rest of the
/// line.
std::string_view TextValue(std::string_view afterKeyword) noexcept {
  const std::size_t open = afterKeyword.find('"');
  const std::size_t close = afterKeyword.rfind('"');
  if (open != close) {
    return afterKeyword.substr(open + 1, close - open - 1);
  }
  std::string_view value = platform::Trim(afterKeyword);
  if (value.starts_with('"')) {
    value = platform::Trim(value.substr(1));
  }
  return value;
}

/// Returns the number after the first slash of a track type; the default if there is no number or if it is 0.
LONG BlockSizeOf(std::string_view type) noexcept {
  const std::size_t slash = type.find('/');
  LONG size = 0;
  if (slash != std::string_view::npos) {
    LineScanner(type.substr(slash + 1)).NextNumber(&size);
  }
  return size == 0 ? kDefaultBlockSize : size;
}

} // namespace

struct CueLines::Keyword {
  std::string_view word;
  void (CueLines::*apply)(LineScanner fields); ///< Null for a text line.
  TextField field;
};

/// The keywords, in search order. See "keywords" in docs/compatibility.md.
constexpr CueLines::Keyword CueLines::kKeywords[] = {
    {"CATALOG", &CueLines::ApplyCatalog, {}},
    {"TRACK", &CueLines::ApplyTrack, {}},
    {"ISRC", &CueLines::ApplyIsrc, {}},
    {"FLAGS", &CueLines::ApplyFlags, {}},
    {"PREGAP", &CueLines::ApplyPregap, {}},
    {"INDEX", &CueLines::ApplyIndex, {}},
    {"TITLE", nullptr, TextField::Title},
    {"PERFORMER", nullptr, TextField::Performer},
    {"SONGWRITER", nullptr, TextField::Songwriter},
    {"ARRANGER", nullptr, TextField::Arranger},
    {"COMPOSER", nullptr, TextField::Composer},
    {"GENRE", nullptr, TextField::Genre},
    {"MESSAGE", nullptr, TextField::Message},
    {"COMMENT", nullptr, TextField::Message},
};

bool IsTrackLine(std::string_view line) noexcept { return LineScanner(line).NextWordIs("TRACK"); }

void CueLines::Apply(std::string_view line) {
  for (const Keyword& keyword : kKeywords) { // The order of the table decides, not that of the line.
    const std::size_t position = line.find(keyword.word);
    if (position == std::string_view::npos) {
      continue;
    }
    if (keyword.apply != nullptr) {
      LineScanner fields(line);
      fields.NextWord();
      (this->*keyword.apply)(fields);
    } else {
      ApplyText(keyword.field, line.substr(position + keyword.word.size()));
    }
    return;
  }
}

ZSTRACK* CueLines::CurrentTrack() const noexcept {
  const bool inTable = m_number >= 1 && static_cast<UINT>(m_number) <= m_sheet->nTracks;
  return inTable ? &m_sheet->pZSTracks[m_number - 1] : nullptr;
}

void CueLines::Time::Parse(LineScanner* scanner) noexcept {
  if (scanner->NextNumber(&minutes) && scanner->Skip(':') && scanner->NextNumber(&seconds) && scanner->Skip(':')) {
    scanner->NextNumber(&frames);
  }
}

ULONG CueLines::Time::Frames() const noexcept {
  return static_cast<ULONG>(MsfToLba(minutes, seconds, frames) + kPause);
}

void CueLines::ApplyCatalog(LineScanner fields) {
  std::string_view value = fields.NextWord();
  if (value.starts_with('"')) {
    value.remove_prefix(1);
  }
  if (!value.empty()) {
    const BSTR number = NewBstr(value, kMaxMcn);
    SysFreeString(m_sheet->ZSCDTEXT.bstrMCN);
    m_sheet->ZSCDTEXT.bstrMCN = number;
  }
}

void CueLines::ApplyTrack(LineScanner fields) {
  const std::string_view type = fields.NextNumber(&m_number) ? fields.NextWord() : std::string_view();
  ZSTRACK* track = CurrentTrack();
  if (track != nullptr) {
    track->TNO = static_cast<UINT>(m_number);
    SetType(type, track);
  }
}

void CueLines::SetType(std::string_view type, ZSTRACK* track) noexcept {
  if (Contains(type, "AUDIO")) {
    SetMode(m_sheet, track, ZSMODE_AUDIO);
    SetBlockSize(track, ZSFILEBLOCKSIZE_2352);
  } else if (Contains(type, "MODE1")) {
    SetMode(m_sheet, track, ZSMODE_1);
    SetBlockSize(track, static_cast<ULONG>(BlockSizeOf(type)));
  } else if (Contains(type, "MODE2")) {
    SetMode(m_sheet, track, ZSMODE_2);
    SetBlockSize(track, static_cast<ULONG>(BlockSizeOf(type)));
    if (track->BlockSize != ZSFILEBLOCKSIZE_2352 && track->BlockSize != ZSFILEBLOCKSIZE_2336) {
      track->ImageBlockSize = ZSFILEBLOCKSIZE_2048;
    }
  }
}

void CueLines::ApplyIsrc(LineScanner fields) {
  const std::string_view value = fields.NextWord();
  ZSTRACK* track = CurrentTrack();
  if (track != nullptr && !value.empty()) {
    const BSTR code = NewBstr(value, kMaxIsrc);
    SysFreeString(track->bstrISRC);
    track->bstrISRC = code;
  }
}

void CueLines::ApplyFlags(LineScanner fields) {
  ZSTRACK* track = CurrentTrack();
  if (track == nullptr) {
    return;
  }
  for (std::string_view word = fields.NextWord(); !word.empty(); word = fields.NextWord()) {
    track->Flags |= word == "DCP"   ? ZSTRACKFLAG_DCP
                    : word == "PRE" ? ZSTRACKFLAG_PRE
                    : word == "4CH" ? ZSTRACKFLAG_4CH
                                    : 0;
  }
}

void CueLines::ApplyPregap(LineScanner fields) {
  m_time.Parse(&fields);
  m_pregapSum += m_time.Frames();
}

void CueLines::ApplyIndex(LineScanner fields) {
  if (fields.NextNumber(&m_index)) {
    m_time.Parse(&fields);
  }
  ZSTRACK* track = CurrentTrack();
  if (track == nullptr) {
    return;
  }
  if (m_index == 0) {
    BeginPregap(m_time.Frames(), track);
  } else {
    BeginTrack(m_time.Frames(), track);
  }
}

/// Applies INDEX 00. Its position is stored in `dwLBA` until INDEX 01 replaces it. See "first pregap" in
/// docs/compatibility.md for track 1.
void CueLines::BeginPregap(ULONG position, ZSTRACK* track) const noexcept {
  if (m_number <= 1) {
    return;
  }
  track->dwLBA = position;
  CoTaskMemFree(track->pdwIndex);
  track->pdwIndex = nullptr;
  track->nCountIndex = 0;
  AppendIndexes(track, &position, 1);
}

/// Applies INDEX 01 and higher.
void CueLines::BeginTrack(ULONG position, ZSTRACK* track) noexcept {
  EndPreviousTrack(position, track);
  if (track->pdwIndex == nullptr) {
    const ULONG entries[] = {kNoIndex, position};
    AppendIndexes(track, entries, 2);
  } else {
    AppendIndexes(track, &position, 1);
  }
  if (m_index == 1) {
    track->dwLBA = position + m_pregapSum;
  }
  track->dwReserved64 = m_byteOffset;
}

/// Ends the previous track where the pregap of this track begins. Only the first index above 0 of a track does this.
void CueLines::EndPreviousTrack(ULONG position, ZSTRACK* track) noexcept {
  if (m_number <= 1) {
    return;
  }
  ZSTRACK& before = m_sheet->pZSTracks[m_number - 2];
  if (before.dwEndLBA != 0) {
    return;
  }
  before.dwEndLBA = position;
  if (track->dwLBA != 0) {
    track->Pregap = static_cast<LONG>(position - track->dwLBA);
    before.dwEndLBA = track->dwLBA;
  }
  const ULONG bytes = (before.dwEndLBA - before.dwLBA) * BytesOf(before.BlockSize);
  m_byteOffset += bytes;
}

void CueLines::ApplyText(TextField field, std::string_view afterKeyword) {
  ZSTRACK* track = CurrentTrack();
  if (track == nullptr && m_number != 0) {
    return;
  }
  const BSTR value = NewBstr(TextValue(afterKeyword));
  if (track == nullptr) {
    ReplaceText(&m_sheet->ZSCDTEXT, field, value);
  } else {
    ReplaceText(track, field, value);
  }
}
