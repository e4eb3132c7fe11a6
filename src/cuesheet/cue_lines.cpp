#include "cuesheet/cue_lines.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
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

/// The value of a text line: what stands between the first and the last quote, or else the rest of the line.
std::string_view TextValue(std::string_view behindKeyword) noexcept {
  const std::size_t open = behindKeyword.find('"');
  const std::size_t close = behindKeyword.rfind('"');
  if (open != close) {
    return behindKeyword.substr(open + 1, close - open - 1);
  }
  std::string_view value = platform::Trim(behindKeyword);
  if (value.starts_with('"')) {
    value = platform::Trim(value.substr(1));
  }
  return value;
}

/// The number behind the first slash of a track type; the default if there is none or it reads as 0.
LONG BlockSizeOf(std::string_view type) noexcept {
  const std::size_t slash = type.find('/');
  LONG size = 0;
  if (slash != std::string_view::npos) {
    LineScanner(type.substr(slash + 1)).Number(&size);
  }
  return size == 0 ? kDefaultBlockSize : size;
}

ULONG PregapOf(const ZSTRACK& track) noexcept { return static_cast<ULONG>(track.Pregap); }

} // namespace

struct CueLines::Keyword {
  std::string_view word;
  void (CueLines::*take)(std::string_view line); ///< Null for a text line.
  TextField field;
};

constexpr CueLines::Keyword CueLines::kKeywords[] = {
    {"CATALOG", &CueLines::Catalog, {}},
    {"TRACK", &CueLines::Track, {}},
    {"ISRC", &CueLines::Isrc, {}},
    {"FLAGS", &CueLines::Flags, {}},
    {"PREGAP", &CueLines::PregapLine, {}},
    {"INDEX", &CueLines::Index, {}},
    {"TITLE", nullptr, TextField::Title},
    {"PERFORMER", nullptr, TextField::Performer},
    {"SONGWRITER", nullptr, TextField::Songwriter},
    {"ARRANGER", nullptr, TextField::Arranger},
    {"COMPOSER", nullptr, TextField::Composer},
    {"GENRE", nullptr, TextField::Genre},
    {"MESSAGE", nullptr, TextField::Message},
    {"COMMENT", nullptr, TextField::Message},
};

bool IsTrackLine(std::string_view line) noexcept { return LineScanner(line).WordIs("TRACK"); }

const CueLines::Keyword* CueLines::FindKeyword(std::string_view line, std::size_t* place) noexcept {
  // Every third pair of letters is looked at, which meets one of the first three pairs of any keyword. Each of those
  // has a bit, the first keyword's in the lowest, in the tables of its two letters.
  constexpr std::size_t kPairs = 3;
  static constexpr auto kTables = [] {
    std::array<std::array<std::uint64_t, 256>, 2> tables{};
    for (std::size_t bit = 0; bit < std::size(kKeywords) * kPairs; ++bit) {
      const char* pair = &kKeywords[bit / kPairs].word[bit % kPairs];
      tables[0][static_cast<BYTE>(pair[0])] |= std::uint64_t{1} << bit;
      tables[1][static_cast<BYTE>(pair[1])] |= std::uint64_t{1} << bit;
    }
    return tables;
  }();
  const Keyword* found = nullptr;
  std::uint64_t wanted = ~std::uint64_t{0}; // Only keywords before the one found count on.
  for (std::size_t i = 0; i + 1 < line.size(); i += kPairs) {
    std::uint64_t rest = kTables[0][static_cast<BYTE>(line[i])] & kTables[1][static_cast<BYTE>(line[i + 1])] & wanted;
    for (; rest != 0; rest &= rest - 1) {
      const auto bit = static_cast<std::size_t>(std::countr_zero(rest));
      const Keyword& keyword = kKeywords[bit / kPairs];
      const std::size_t ahead = bit % kPairs;
      if (ahead <= i && line.substr(i - ahead).starts_with(keyword.word)) {
        found = &keyword;
        *place = i - ahead;
        wanted = (std::uint64_t{1} << (bit - ahead)) - 1;
        break;
      }
    }
  }
  return found;
}

void CueLines::Take(std::string_view line) {
  std::size_t place = 0;
  const Keyword* keyword = FindKeyword(line, &place);
  if (keyword == nullptr) {
    return;
  }
  if (keyword->take != nullptr) {
    (this->*keyword->take)(line);
  } else {
    Text(keyword->field, line.substr(place + keyword->word.size()));
  }
}

ZSTRACK* CueLines::Current() const noexcept {
  const bool inTable = m_number >= 1 && static_cast<UINT>(m_number) <= m_sheet->nTracks;
  return inTable ? &m_sheet->pZSTracks[m_number - 1] : nullptr;
}

void CueLines::Time::Scan(LineScanner* scanner) noexcept {
  if (scanner->Number(&minutes) && scanner->Literal(':') && scanner->Number(&seconds) && scanner->Literal(':')) {
    scanner->Number(&frames);
  }
}

LONG CueLines::Time::Frames() const noexcept { return MsfToLba(minutes, seconds, frames) + kPause; }

void CueLines::Catalog(std::string_view line) {
  LineScanner scanner(line);
  scanner.Word();
  std::string_view value = scanner.Word();
  if (value.starts_with('"')) {
    value.remove_prefix(1);
  }
  if (!value.empty()) {
    BSTR number = NewBstr(value, kMaxMcn);
    SysFreeString(m_sheet->ZSCDTEXT.bstrMCN);
    m_sheet->ZSCDTEXT.bstrMCN = number;
  }
}

void CueLines::Track(std::string_view line) {
  LineScanner scanner(line);
  scanner.Word();
  const std::string_view type = scanner.Number(&m_number) ? scanner.Word() : std::string_view();
  ZSTRACK* track = Current();
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

void CueLines::Isrc(std::string_view line) {
  LineScanner scanner(line);
  scanner.Word();
  const std::string_view value = scanner.Word();
  ZSTRACK* track = Current();
  if (track != nullptr && !value.empty()) {
    BSTR code = NewBstr(value, kMaxIsrc);
    SysFreeString(track->bstrISRC);
    track->bstrISRC = code;
  }
}

void CueLines::Flags(std::string_view line) {
  ZSTRACK* track = Current();
  if (track == nullptr) {
    return;
  }
  LineScanner scanner(line);
  scanner.Word();
  for (std::string_view word = scanner.Word(); !word.empty(); word = scanner.Word()) {
    track->Flags |= word == "DCP"   ? ZSTRACKFLAG_DCP
                    : word == "PRE" ? ZSTRACKFLAG_PRE
                    : word == "4CH" ? ZSTRACKFLAG_4CH
                                    : 0;
  }
}

void CueLines::PregapLine(std::string_view line) {
  LineScanner scanner(line);
  scanner.Word();
  m_time.Scan(&scanner);
  m_pregapSum += static_cast<ULONG>(m_time.Frames());
}

void CueLines::Index(std::string_view line) {
  LineScanner scanner(line);
  scanner.Word();
  if (scanner.Number(&m_index)) {
    m_time.Scan(&scanner);
  }
  if (Current() == nullptr) {
    return;
  }
  if (m_index == 0) {
    BeginPregap(m_time.Frames());
  } else {
    BeginTrack(m_time.Frames());
  }
}

/// INDEX 00. The place of index 1 is held in `dwLBA` until that line comes. The first track has no pregap in
/// the file, so its line means nothing.
void CueLines::BeginPregap(LONG position) noexcept {
  if (m_number <= 1) {
    return;
  }
  ZSTRACK* track = Current();
  const auto start = static_cast<ULONG>(position);
  track->dwLBA = start;
  CoTaskMemFree(track->pdwIndex);
  track->pdwIndex = nullptr;
  track->nCountIndex = 0;
  AppendIndexes(track, &start, 1);
}

/// INDEX 01 and higher.
void CueLines::BeginTrack(LONG position) noexcept {
  ZSTRACK* track = Current();
  EndTrackBefore(position);
  const auto start = static_cast<ULONG>(position);
  if (track->pdwIndex == nullptr) {
    const ULONG entries[] = {kNoIndex, start};
    AppendIndexes(track, entries, 2);
  } else {
    AppendIndexes(track, &start, 1);
  }
  if (m_index == 1) {
    track->dwLBA = start + m_pregapSum;
  }
  track->dwReserved64 = m_byteOffset;
}

/// The first index above 0 ends the track before, where the pregap of this track begins.
void CueLines::EndTrackBefore(LONG position) noexcept {
  if (m_number <= 1) {
    return;
  }
  ZSTRACK* track = Current();
  ZSTRACK& before = m_sheet->pZSTracks[m_number - 2];
  if (before.dwEndLBA != 0) {
    return;
  }
  before.dwEndLBA = static_cast<ULONG>(position);
  if (track->dwLBA != 0) {
    track->Pregap = static_cast<LONG>(static_cast<ULONG>(position) - track->dwLBA);
    before.dwEndLBA -= PregapOf(*track);
  }
  const ULONG bytes = (before.dwEndLBA - before.dwLBA) * BytesOf(before.BlockSize);
  m_byteOffset += bytes;
}

void CueLines::Text(TextField field, std::string_view behindKeyword) {
  ZSTRACK* track = Current();
  if (track == nullptr && m_number != 0) {
    return;
  }
  BSTR value = NewBstr(TextValue(behindKeyword));
  if (track == nullptr) {
    ReplaceText(&m_sheet->ZSCDTEXT, field, value);
  } else {
    ReplaceText(track, field, value);
  }
}
