#include "toc/toc_reader.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <vector>

#include "cdtext/decoder.h"
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

/// Returns the text of a path in a document, or of a key in a node; empty if it is missing.
template <class Source> std::string TextOf(const Source& source, const char* name) {
  std::string text;
  source.GetValue(name, &text, {});
  return text;
}

/// Returns the number of a path or a key; 0 if it is missing or malformed.
template <class Source> LONG NumberOf(const Source& source, const char* name) {
  LONG number = 0;
  source.GetValue(name, &number, 0);
  return number;
}

/// Returns whether a sub-channel file exists, in the current folder or beside the TOC file.
bool SubFileExists(const std::string& path, const std::string& name) {
  std::string beside = path;
  ReplaceFileName(&beside, name);
  CZSFindFile find;
  return !name.empty() &&
         (find.FindFile(name) || LookupWasInconclusive() || find.FindFile(beside) || LookupWasInconclusive());
}

void ReadImageFields(const CZSSettingsDocument& document, const std::string& path, zsimagefileinfo* info) {
  if (!TextOf(document, toc::kCdgFile).empty()) {
    info->lMask |= ZSIMAGEMASK_CDG;
  }
  if (SubFileExists(path, TextOf(document, toc::kSubFile))) {
    info->lMask |= ZSIMAGEMASK_SUBCHANNEL;
  }
  std::string sectorFile = path;
  ReplaceFileName(&sectorFile, TextOf(document, toc::kBinaryFile));
  info->bstrImageBinaryFile = NewBstr(sectorFile);
  info->dwSeekEnd64 = kToEndOfFile;
  info->ZSImageFormat = ZSIMAGEFORMAT_ZSI;
  info->ZSBlockSize = ZSFILEBLOCKSIZE_2352;
  info->dwSeekBegin64 = 0;
}

bool ReadTrack(const CZSSettingsNode& node, ZSCUESHEET* sheet, ZSTRACK* track) {
  std::string name = TextOf(node, toc::kMode);
  CharUpperA(&name);
  const auto* known = std::ranges::find(toc::kModes, name, &toc::Mode::name);
  if (known == std::end(toc::kModes)) {
    return false;
  }
  SetMode(sheet, track, known->mode);
  SetBlockSize(track, ZSFILEBLOCKSIZE_2352);
  track->Flags = NumberOf(node, toc::kFlags);
  track->bstrISRC = NewBstr(TextOf(node, toc::kIsrc));
  track->Pregap = NumberOf(node, toc::kPregap);
  track->dwLBA = static_cast<ULONG>(NumberOf(node, toc::kBeginData));
  track->dwEndLBA = static_cast<ULONG>(NumberOf(node, toc::kEndData));
  track->Postgap = NumberOf(node, toc::kPostgap);
  return true;
}

/// Returns the number of tracks of a session; 0 if it has fewer track nodes, which bounds the memory for tracks.
UINT TrackCount(const CZSSettingsNode& session) {
  const LONG count = NumberOf(session, toc::kTracks);
  const auto isTrack = [](const CZSSettingsNode& child) { return child.name.starts_with(toc::kTrackNode); };
  return count < 0 || count > std::ranges::count_if(session.Children(), isTrack) ? 0 : static_cast<UINT>(count);
}

HRESULT ReadSession(IZSCueSheet* service, const CZSSettingsNode* session, const std::string& catalog,
                    zsimagefileinfo* info) {
  UniqueSheet sheet = NewSheet(service);
  if (!sheet) {
    return ZSE_OUTOFRESOURCES;
  }
  const UINT tracks = session == nullptr ? 0 : TrackCount(*session);
  if (tracks == 0) {
    return ZSE_FAILED;
  }
  if (!AllocateTracks(sheet.get(), tracks)) {
    return E_OUTOFMEMORY;
  }
  sheet->ZSCDTEXT.bstrMCN = NewBstr(catalog);
  for (UINT number = 1; number <= tracks; ++number) {
    const CZSSettingsNode* node = session->FindChild(toc::TrackNode(static_cast<LONG>(number)));
    ZSTRACK* track = &sheet->pZSTracks[number - 1];
    track->TNO = number;
    if (node == nullptr || !ReadTrack(*node, sheet.get(), track)) {
      return ZSE_FAILED;
    }
  }
  return AppendSession(&sheet, info) ? S_OK : ZSE_OUTOFRESOURCES;
}

HRESULT ReadSessions(IZSCueSheet* service, const CZSSettingsDocument& document, zsimagefileinfo* info) {
  const LONG count = NumberOf(document, toc::kSessionCount);
  if (count > static_cast<LONG>(kMaxSessions)) {
    return ZSE_OUTOFRESOURCES;
  }
  const std::string catalog = TextOf(document, toc::kCatalog);
  const CZSSettingsNode* sessions = document.FindNode(toc::kSessions); // Not null if there is a count.
  HRESULT result = S_OK;
  for (LONG number = 1; number <= count && result == S_OK; ++number) {
    result = ReadSession(service, sessions->FindChild(toc::SessionNode(number)), catalog, info);
  }
  return result;
}

/// Appends a pack from its hexadecimal text. A pair of characters that is not a number counts as 0. Returns false if
/// the text is empty or too long for a pack.
bool AppendPack(std::string text, std::vector<BYTE>* packs) {
  const bool empty = text.empty();
  std::erase(text, ' ');
  if (empty || text.size() > 2 * kPackSize) {
    return false;
  }
  const std::size_t start = packs->size();
  packs->resize(start + kPackSize);
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    std::from_chars(&text[i], &text[i] + 2, (*packs)[start + i / 2], 16);
  }
  return true;
}

void ReadCDText(const CZSSettingsDocument& document, zsimagefileinfo* info) {
  const LONG count = NumberOf(document, toc::kPackCount);
  const LONG length = NumberOf(document, toc::kPackBytes);
  if (count <= 0 || length <= 0 || info->nSessions == 0) {
    return;
  }
  const CZSSettingsNode* node = document.FindNode(toc::kPacks); // Not null: it has the count.
  std::vector<BYTE> packs; // Grows pack by pack, because the count in the file may be false.
  for (ULONG number = 1; number <= static_cast<ULONG>(count); ++number) {
    if (!AppendPack(TextOf(*node, toc::PackKey(number).c_str()), &packs)) {
      return;
    }
  }
  ZSCUESHEET* sheet = info->pZSCueSheet[0];
  DecodeCDTextPacks(packs.data(), std::min(packs.size(), static_cast<std::size_t>(length)), sheet);
  if (sheet->ZSCDTEXT.CDTextPresent == VARIANT_TRUE) {
    info->lMask |= ZSIMAGEMASK_CDTEXT;
  }
}

HRESULT ReadTOCImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  CZSSettingsDocument document;
  document.Load(path);
  if (LeadingNumber(TextOf(document, toc::kVersion)).value_or(0) > toc::kFormatVersion) {
    return ZSE_TOCVERSION;
  }
  if (TextOf(document, toc::kBinaryFile).empty()) {
    return ZSE_FAILED;
  }
  ReadImageFields(document, path, info);
  const HRESULT result = ReadSessions(service, document, info);
  if (FAILED(result)) {
    return result;
  }
  try {
    ReadCDText(document, info);
  } catch (const std::bad_alloc&) { // The image is complete without its texts.
  }
  return S_OK;
}

} // namespace

HRESULT OpenTOCImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  const HRESULT result = ReadTOCImage(service, path, info);
  if (FAILED(result)) {
    return result;
  }
  if (FAILED(ClassifyImage(NarrowText(info->bstrImageBinaryFile), info))) {
    return ZSE_BADIMAGE;
  }
  ComputeDiscIDs(info);
  return S_OK;
}
