#include "toc/toc_reader.h"

#include <algorithm>
#include <new>
#include <vector>

#include "cdtext/decoder.h"
#include "cuesheet/cue_sheet.h"
#include "cuesheet/unique_sheet.h"
#include "disc/classify.h"
#include "disc/disc_id.h"
#include "disc/track_table.h"
#include "foundation/file.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/text.h"
#include "toc/settings_document.h"
#include "toc/toc_schema.h"

namespace {

std::string TextAt(const CZSSettingsDocument& document, const char* path) {
  std::string text;
  document.GetValue(path, &text, {});
  return text;
}

LONG NumberAt(const CZSSettingsDocument& document, const char* path) {
  LONG number = 0;
  document.GetValue(path, &number, 0);
  return number;
}

/// Whether a sub-channel file is there: under its plain name, or beside the TOC file.
bool FindSubFile(const std::string& path, const std::string& name) {
  if (name.empty()) {
    return false;
  }
  CZSFindFile find;
  std::string beside = path;
  ReplaceFileName(&beside, name);
  return find.FindFile(name) || LookupWasHindered() || find.FindFile(beside) || LookupWasHindered();
}

void ReadTop(const CZSSettingsDocument& document, const std::string& path, const std::string& binaryFile,
             zsimagefileinfo* info) {
  if (!TextAt(document, toc::kCdgFile).empty()) {
    info->lMask |= ZSIMAGEMASK_CDG;
  }
  if (FindSubFile(path, TextAt(document, toc::kSubFile))) {
    info->lMask |= ZSIMAGEMASK_SUBCHANNEL;
  }
  std::string sectorFile = path;
  ReplaceFileName(&sectorFile, binaryFile);
  info->bstrImageBinaryFile = NewBstr(sectorFile);
  info->dwSeekEnd64 = kToEndOfFile;
  info->ZSImageFormat = ZSIMAGEFORMAT_ZSI;
  info->ZSBlockSize = ZSFILEBLOCKSIZE_2352;
  info->dwSeekBegin64 = 0;
}

bool ModeOf(std::string name, ZSMODETYPE* mode) {
  CharUpperA(&name);
  if (name == toc::kModeAudio) {
    *mode = ZSMODE_AUDIO;
  } else if (name == toc::kMode1) {
    *mode = ZSMODE_1;
  } else if (name == toc::kMode2) {
    *mode = ZSMODE_2;
  } else {
    return false;
  }
  return true;
}

bool ReadTrack(const CZSSettingsDocument& document, const std::string& node, ZSCUESHEET* sheet, ZSTRACK* track) {
  const auto number = [&](const char* key) { return NumberAt(document, toc::KeyPath(node, key).c_str()); };
  const auto text = [&](const char* key) { return TextAt(document, toc::KeyPath(node, key).c_str()); };
  ZSMODETYPE mode{};
  if (!ModeOf(text(toc::kMode), &mode)) {
    return false;
  }
  SetMode(sheet, track, mode);
  SetBlockSize(track, ZSFILEBLOCKSIZE_2352);
  track->Flags = number(toc::kFlags);
  track->bstrISRC = NewBstr(text(toc::kIsrc));
  track->Pregap = number(toc::kPregap);
  track->dwLBA = static_cast<ULONG>(number(toc::kBeginData));
  track->dwEndLBA = static_cast<ULONG>(number(toc::kEndData));
  track->Postgap = number(toc::kPostgap);
  return true;
}

/// The number of tracks of a session; 0 also for a number that the session's nodes do not bear out, since that
/// session cannot be read and no memory need be taken for it.
UINT TrackCount(const CZSSettingsDocument& document, const std::string& session) {
  const LONG count = NumberAt(document, toc::KeyPath(session, toc::kTracks).c_str());
  const CZSSettingsNode* node = document.FindNode(session.c_str());
  if (node == nullptr || count < 0) {
    return 0;
  }
  const auto isTrack = [](const CZSSettingsNode& child) { return child.name.starts_with(toc::kTrackNode); };
  const std::list<CZSSettingsNode>& nodes = node->Children();
  return count > std::count_if(nodes.begin(), nodes.end(), isTrack) ? 0 : static_cast<UINT>(count);
}

HRESULT ReadSession(IZSCueSheet* service, const CZSSettingsDocument& document, LONG number, zsimagefileinfo* info) {
  UniqueSheet sheet = NewSheet(service);
  if (!sheet) {
    return ZSE_OUTOFRESOURCES;
  }
  const std::string session = toc::SessionPath(number);
  const UINT tracks = TrackCount(document, session);
  if (tracks == 0) {
    return ZSE_FAILED;
  }
  if (!AllocateTracks(sheet.get(), tracks)) {
    return E_OUTOFMEMORY;
  }
  sheet->ZSCDTEXT.bstrMCN = NewBstr(TextAt(document, toc::kCatalog));
  for (UINT i = 0; i < tracks; ++i) {
    ZSTRACK* track = &sheet->pZSTracks[i];
    track->TNO = i + 1;
    if (!ReadTrack(document, toc::TrackPath(session, static_cast<LONG>(i + 1)), sheet.get(), track)) {
      return ZSE_FAILED;
    }
  }
  return AppendSession(&sheet, info) ? S_OK : ZSE_OUTOFRESOURCES;
}

HRESULT ReadSessions(IZSCueSheet* service, const CZSSettingsDocument& document, zsimagefileinfo* info) {
  const LONG count = NumberAt(document, toc::kSessionCount);
  if (count > static_cast<LONG>(kMaxSessions)) {
    return ZSE_OUTOFRESOURCES;
  }
  for (LONG number = 1; number <= count; ++number) {
    const HRESULT result = ReadSession(service, document, number, info);
    if (FAILED(result)) {
      return result;
    }
  }
  return S_OK;
}

/// The number that a pair of characters begins with; 0 when it begins with none.
BYTE PairValue(char first, char second) noexcept {
  const int high = platform::HexDigit(first);
  const int low = platform::HexDigit(second);
  if (high < 0) {
    return 0;
  }
  return static_cast<BYTE>(low < 0 ? high : high * 16 + low);
}

/// Appends one pack in hexadecimal. False for a text that is empty or too long for a pack.
bool AppendPack(std::string text, std::vector<BYTE>* packs) {
  const bool empty = text.empty();
  std::erase(text, ' ');
  if (empty || text.size() > 2 * kPackSize) {
    return false;
  }
  std::size_t place = packs->size();
  packs->resize(place + kPackSize);
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    (*packs)[place++] = PairValue(text[i], text[i + 1]);
  }
  return true;
}

void ReadCDText(const CZSSettingsDocument& document, zsimagefileinfo* info) {
  const LONG count = NumberAt(document, toc::kPackCount);
  const LONG length = NumberAt(document, toc::kPackBytes);
  if (count <= 0 || length <= 0 || info->nSessions == 0) {
    return;
  }
  // The packs that are there take the memory, not the numbers that the file gives for them.
  std::vector<BYTE> packs;
  for (LONG i = 0; i < count; ++i) {
    if (!AppendPack(TextAt(document, toc::PackPath(static_cast<ULONG>(i) + 1).c_str()), &packs)) {
      return;
    }
  }
  ZSCUESHEET* sheet = info->pZSCueSheet[0];
  DecodeCDTextPacks(packs.data(), std::min(packs.size(), static_cast<std::size_t>(length)), sheet);
  if (sheet->ZSCDTEXT.CDTextPresent == VARIANT_TRUE) {
    info->lMask |= ZSIMAGEMASK_CDTEXT;
  }
}

} // namespace

HRESULT OpenTOCImage(IZSCueSheet* /*service*/, const std::string& path, zsimagefileinfo* info) {
  const HRESULT result = ReadTOCImage(path, info);
  if (FAILED(result)) {
    return result;
  }
  if (FAILED(ClassifyImage(NarrowText(info->bstrImageBinaryFile), info))) {
    return ZSE_BADIMAGE;
  }
  ComputeDiscIDs(info);
  return S_OK;
}

HRESULT ReadTOCImage(const std::string& path, zsimagefileinfo* info) {
  ComPtr<IZSCueSheet> service;
  const HRESULT created = CreateCueSheetService(nullptr, IID_IZSCueSheet, service.ReceiveVoid());
  if (FAILED(created)) {
    return created == E_NOINTERFACE ? ZSE_FAILED : ZSE_OUTOFRESOURCES;
  }
  CZSSettingsDocument document;
  document.Load(path);
  if (LeadingNumber(TextAt(document, toc::kVersion)).value_or(0) > toc::kFormatVersion) {
    return ZSE_TOCVERSION;
  }
  const std::string binaryFile = TextAt(document, toc::kBinaryFile);
  if (binaryFile.empty()) {
    return ZSE_FAILED;
  }
  ReadTop(document, path, binaryFile, info);
  const HRESULT result = ReadSessions(service.Get(), document, info);
  if (FAILED(result)) {
    return result;
  }
  try {
    ReadCDText(document, info);
  } catch (const std::bad_alloc&) { // Costs the texts, not the image.
  }
  return S_OK;
}
