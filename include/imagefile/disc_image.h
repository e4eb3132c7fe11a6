/// @file
/// Disc images for C++ programs: owners, views, UTF-8 and exceptions over the interfaces. Header-only.
///
/// Positions are sectors of the disc, 75 to a second (Red Book); other numbers have their unit in the name. Texts and
/// paths are UTF-8; platform/file_lookup.h says how paths are found. Functions throw Error, or std::bad_alloc. One
/// thread at a time uses an image and what it returns; several threads may use several images.
#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <numeric>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "disc/track_extents.h"
#include "imagefile/error.h"
#include "imagefile/interfaces.h"
#include "platform/bstr.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/task_memory.h"
#include "platform/text.h"

/// Disc images for C++ programs.
namespace imagefile {

/// Format of a description: zsimgformat.
enum class Format { Iso, Cue, Bin, Nrg, Ccd, Zsi, Mds };
/// What a disc is: ZSTYPEPROJECT.
enum class Kind { None, Data, CdAudio, Mixed, CdPlus, Video, DvdVideo, CdMp3, CdWma, CdOgg, DataMultiSession, Other };
/// Mode of a track: ZSMODETYPE.
enum class Mode { Audio = 0, Mode1 = 1, Mode2 = 4, Mode2Form2 = 5, Mode2Mixed = 7, Unknown = 255 };
/// Format of a session in the lead-in: ZSSESSIONFORMAT.
enum class SessionFormat { CdRom = 0, Cdi = 16, CdRomXa = 32 };
/// What accompanies an image: the ZSIMAGEMASK_ bits.
enum class Mask { CdText = 1, Cdg = 2, SubChannel = 4, SubChannelInline = 8, TrackAtOnce = 16 };
/// Control flags of a track: the ZSTRACKFLAG_ bits.
enum class Flags { CopyPermitted = 1, PreEmphasis = 2, FourChannels = 4 };

using OptionalText = std::optional<std::string>; ///< UTF-8; std::nullopt if the image has no such text.

/// @cond
namespace detail {

inline UniqueBstr WidePath(const std::string& path) {
  Require(path.find('\0') == path.npos, E_INVALIDARG, path.substr(0, path.find('\0')), "a path has no zero byte");
  UniqueBstr wide(SysAllocString(MultiByteToWideChar(path).c_str()));
  return wide ? std::move(wide) : throw std::bad_alloc();
}

/// The path of a new file in a hidden folder beside its target. Both are removed at the end.
struct HiddenFile {
  HiddenFile(const std::filesystem::path& target, const std::string& path)
      : folder(target.parent_path() / (".imagefile-" + std::to_string(std::random_device()()))),
        file(folder / target.filename()) {
    if (std::error_code error; !std::filesystem::create_directory(folder, error)) {
      const DWORD code =
          error == std::errc::no_such_file_or_directory ? ERROR_PATH_NOT_FOUND : platform::SystemError(error.value());
      throw Error(ResultOf(code), path, "no file can be created in its folder: " + error.message());
    }
  }
  HiddenFile(const HiddenFile&) = delete;
  HiddenFile& operator=(const HiddenFile&) = delete;
  ~HiddenFile() {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    std::filesystem::remove(folder, ignored);
  }
  const std::filesystem::path folder;
  const std::filesystem::path file;
};

/// A new file. Failures name `path`.
class NewFile {
public:
  NewFile(const std::string& written, const std::string& path)
      : m_path(path),
        m_file(CreateFileA(written, GENERIC_WRITE, FILE_SHARE_NONE, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL)) {
    Require(bool{m_file}, LastResult(), path);
  }
  void Write(std::span<const std::byte> bytes) {
    DWORD done = 0;
    const bool isWritten = WriteFile(m_file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done);
    Require(isWritten, LastResult(), m_path);
  }

private:
  const std::string& m_path;
  const UniqueHandle m_file;
};

/// Replaces a file by the one that `write` writes to the path that it gets. A device is written directly.
template <class Function> void ReplaceFile(const std::string& path, Function write) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status old = fs::status(path, error);
  Require(fs::exists(old) || !fs::is_symlink(path, error), ResultOf(ERROR_PATH_NOT_FOUND), path,
          "this is a link to a missing file");
  Require(!fs::is_fifo(old), E_INVALIDARG, path, "this is a pipe; give the name of a file or a device");
  const bool isWritable = (old.permissions() & fs::perms::owner_write) != fs::perms::none;
  Require(!fs::exists(old) || isWritable, ResultOf(ERROR_ACCESS_DENIED), path, "the file is write-protected");
  if (fs::exists(old) && !fs::is_regular_file(old)) {
    return write(path);
  }
  const fs::path folder = platform::SpelledOnDisk(platform::FolderOf(path));
  const HiddenFile hidden(
      fs::exists(old) ? fs::canonical(path, error) : folder / NarrowToUtf8(platform::FileName(path)), path);
  write(hidden.file.string());
  if (fs::exists(old)) {
    fs::permissions(hidden.file, old.permissions(), error);
  }
  fs::rename(hidden.file, hidden.folder.parent_path() / hidden.file.filename(), error);
  Require(!error, E_FAIL, path, "the new file cannot get its name");
}

/// Throws if a call does not write a description. The interfaces report no failed writes, but leave the last error.
template <class Call> void RequireWritten(const std::string& path, Call call) {
  SetLastError(ERROR_SUCCESS);
  const HRESULT result = call();
  const HRESULT reason = result == S_OK || result == E_FAIL ? LastResult() : result;
  Require(result == S_OK && reason == S_OK, reason, path);
}

inline std::string Utf8(BSTR text) { return NarrowToUtf8(WideCharToMultiByte(BstrView(text))); }
inline OptionalText TextOf(BSTR text) { return text == nullptr ? std::nullopt : OptionalText(Utf8(text)); }

} // namespace detail
/// @endcond

/// Texts of a disc or a track.
template <class R> class Texts {
public:
  explicit Texts(const R& record) noexcept : m_record(&record) {}                      ///< Makes a view of a record.
  OptionalText Title() const { return detail::TextOf(m_record->bstrTitle); }           ///< Title.
  OptionalText Composer() const { return detail::TextOf(m_record->bstrComposer); }     ///< Writer of the music.
  OptionalText Performer() const { return detail::TextOf(m_record->bstrPerformer); }   ///< Performer.
  OptionalText Songwriter() const { return detail::TextOf(m_record->bstrSongwriter); } ///< Writer of the words.
  OptionalText Arranger() const { return detail::TextOf(m_record->bstrArranger); }     ///< Arranger.
  OptionalText Genre() const { return detail::TextOf(m_record->bstrGenre); }           ///< Genre.
  OptionalText Message() const { return detail::TextOf(m_record->bstrMessage); }       ///< Message of the maker.
  /// Returns whether there is any of these texts.
  bool HasText() const {
    return Title() || Composer() || Performer() || Songwriter() || Arranger() || Genre() || Message();
  }

protected:
  const R* m_record; ///< The record.
};

/// View of a track. Valid while the image exists, also after it is moved.
class Track : public Texts<ZSTRACK> {
public:
  unsigned Number() const noexcept { return m_record->TNO; }               ///< From 1 in a session; a CUE sheet's own.
  std::uint32_t Start() const noexcept { return m_record->dwLBA; }         ///< Position of index 1, the first sector.
  std::uint32_t End() const noexcept { return m_record->dwEndLBA; }        ///< First position after the track.
  std::int32_t PregapSectors() const noexcept { return m_record->Pregap; } ///< From index 0 to index 1, before Start.
  std::int32_t PostgapSectors() const noexcept { return m_record->Postgap; } ///< In the image after End.
  unsigned IndexCount() const noexcept { return m_record->nCountIndex; } ///< Index 0 included; 0 if none are listed.
  /// Returns the position of an index, below 0 for one before sector 0; std::nullopt for an index that is absent.
  std::optional<std::int32_t> Index(unsigned number) const noexcept {
    const ULONG position = number < IndexCount() ? m_record->pdwIndex[number] : kNoIndex;
    return position == kNoIndex ? std::nullopt : std::optional(static_cast<std::int32_t>(position));
  }
  imagefile::Mode Mode() const noexcept { return imagefile::Mode{m_record->Mode}; } ///< Mode.
  /// Returns whether a control flag is set.
  bool Has(Flags flag) const noexcept { return (m_record->Flags & static_cast<LONG>(flag)) != 0; }
  OptionalText Isrc() const { return detail::TextOf(m_record->bstrISRC); } ///< Recording code, not checked.
  const ZSTRACK& Record() const noexcept { return *m_record; }             ///< The record, for the interfaces.

  std::uint32_t BlockBytes() const noexcept { return m_extent.blockSize; } ///< Of a sector in the data file.
  std::uint64_t OffsetBytes() const noexcept { return m_extent.begin; } ///< Of the sector at Start, in the data file.
  std::uint32_t SectorsInFile() const noexcept { return m_extent.sectors; } ///< From OffsetBytes on, in a whole file.
  std::uint32_t PregapSectorsInFile() const noexcept { return m_extent.pregap; } ///< Directly before OffsetBytes.
  /// Returns how many of SectorsInFile a data file of a size lacks (Image::DataFileBytes).
  std::uint32_t MissingSectors(std::uint64_t dataFileBytes) const noexcept { return m_extent.Missing(dataFileBytes); }

private:
  friend class Image;
  Track(const ZSTRACK& record, const TrackExtent& extent) noexcept : Texts(record), m_extent(extent) {}

  TrackExtent m_extent;
};

/// View of a session, with the texts of the disc; CD-Text is in the first session alone. Valid as a Track is.
class Session : public Texts<::ZSCDTEXT> {
public:
  unsigned Number() const noexcept { return m_number; }               ///< From 1.
  std::span<const Track> Tracks() const noexcept { return m_tracks; } ///< In the order of the disc.
  SessionFormat Format() const noexcept { return SessionFormat{m_sheet->ZSSESSIONFORMAT}; } ///< In the lead-in.
  bool HasCdText() const noexcept { return m_record->CDTextPresent == VARIANT_TRUE; } ///< Whether texts are of CD-Text.
  OptionalText Mcn() const { return detail::TextOf(m_record->bstrMCN); } ///< Media catalogue number, not checked.
  const ZSCUESHEET& Record() const noexcept { return *m_sheet; }         ///< The record, for the interfaces.

private:
  friend class Image;
  Session(ZSCUESHEET& sheet, std::size_t number, std::span<const Track> tracks) noexcept
      : Texts(sheet.ZSCDTEXT), m_sheet(&sheet), m_number(static_cast<unsigned>(number)), m_tracks(tracks) {}

  ZSCUESHEET* m_sheet;
  unsigned m_number;
  std::span<const Track> m_tracks;
};

/// Data of a track, to be read forward. Keeps the data file open, and needs no image.
class TrackStream {
public:
  /// Reads the next bytes. @return Their number: that of the buffer, at most 1 GiB, but fewer at the end of the track,
  /// and 0 after it. @throws Error if the file cannot be read, or ends before the track does.
  std::size_t Read(std::span<std::byte> buffer) {
    ULONG count = 0;
    const auto wanted = static_cast<ULONG>(std::min<std::size_t>(buffer.size(), 1U << 30));
    const HRESULT result = wanted == 0 ? S_OK : m_stream->Read(buffer.data(), wanted, &count);
    m_done += count;
    detail::Require(SUCCEEDED(result) || count != 0, result, m_dataFile);
    detail::Require(count != 0 || wanted == 0 || m_done == m_size, detail::ResultOf(ERROR_HANDLE_EOF), m_dataFile);
    return count;
  }
  std::uint64_t SizeBytes() const noexcept { return m_size; } ///< Of the whole stream.
  std::uint64_t DoneBytes() const noexcept { return m_done; } ///< Read so far.

private:
  friend class Image;
  TrackStream(ComPtr<IStream> stream, const std::string& dataFile, std::uint64_t size)
      : m_stream(std::move(stream)), m_dataFile(dataFile), m_size(size) {}

  ComPtr<IStream> m_stream;
  std::string m_dataFile;
  std::uint64_t m_size;
  std::uint64_t m_done = 0;
};

/// Where a sector of the disc is.
struct SectorPosition {
  Session session;           ///< The session.
  Track track;               ///< The track that holds it, or has it in its pregap.
  bool isInPregap;           ///< Whether it is before the start of the track.
  std::uint64_t offsetBytes; ///< In the data file.
};

/// How a track is extracted.
struct ExtractOptions {
  std::uint32_t blockSize = 0; ///< Bytes to save of each sector: 2048 for the user data of a data track, 0 for all.
  /// Called after each piece. False, or an exception, stops the extraction.
  std::function<bool(std::uint64_t doneBytes, std::uint64_t totalBytes)> progress = {};
};

/// A disc image that was read. Owns its record. Once moved from, it may only be destroyed or assigned to.
class Image {
public:
  /// Reads an image. @throws Error.
  explicit Image(const std::string& path) : m_path(path) {
    detail::Check(m_record->Images().GetImageFileInfo(detail::WidePath(path).get(), &Record()), path);
    MakeViews();
  }
  /// Makes an image. @param record Filled by the interfaces; it is moved and cleared. @param path As Path.
  Image(zsimagefileinfo* record, std::string path) : m_path(std::move(path)) {
    Record() = std::exchange(*record, {});
    MakeViews();
  }
  /// Returns an image with a deep copy of the record.
  Image Clone() const {
    Image copy;
    copy.m_path = m_path;
    detail::Check(m_record->Images().Clone(m_record.get(), &copy.Record()), m_path);
    copy.MakeViews();
    return copy;
  }

  const std::string& Path() const noexcept { return m_path; } ///< Path of the description, as it was given.
  /// Path of the file that has the sectors, as it is spelled on disk. Looks there at each call, as DataFileBytes does.
  std::string DataFile() const { return platform::SpelledOnDisk(detail::Utf8(Record().bstrImageBinaryFile)); }
  /// Returns the size of the data file; std::nullopt if it is missing or the description names none.
  std::optional<std::uint64_t> DataFileBytes() const { return SizeOf(DataFile()); }
  imagefile::Format Format() const noexcept { return imagefile::Format{Record().ZSImageFormat}; } ///< By extension.
  imagefile::Kind Kind() const noexcept { return imagefile::Kind{Record().ZSTYPEPROJECT}; }       ///< What the disc is.
  /// Returns whether something accompanies the image.
  bool Has(Mask mask) const noexcept { return (Record().lMask & static_cast<LONG>(mask)) != 0; }
  std::uint32_t DiscId() const noexcept { return Record().dwDiscID; }       ///< Disc identifier in the manner of CDDB.
  std::span<const Session> Sessions() const noexcept { return m_sessions; } ///< In the order of the disc.
  /// The record, for the interfaces. Its tables must stay where they are, and offsets do not follow its changes.
  zsimagefileinfo& Record() noexcept { return *m_record; }
  const zsimagefileinfo& Record() const noexcept { return *m_record; } ///< The same, to look at.

  /// Finds a sector of the disc in the data file; std::nullopt if it is in no track.
  std::optional<SectorPosition> PositionOf(std::int64_t sector) const {
    for (const Session& session : m_sessions) {
      for (const Track& track : session.Tracks()) {
        const std::int64_t start = track.Start();
        if (sector >= start - track.PregapSectorsInFile() && sector < start + track.SectorsInFile()) {
          const std::int64_t distance = sector - start;
          const std::uint64_t bytes = static_cast<std::uint64_t>(distance) * track.BlockBytes();
          return SectorPosition{session, track, distance < 0, track.OffsetBytes() + bytes};
        }
      }
    }
    return std::nullopt;
  }

  /// Opens the data of a track of this image, without its pregap. The block size is that of ExtractOptions.
  TrackStream Stream(const Track& track, std::uint32_t blockSize = 0) const {
    const auto isSame = [&](const Track& own) { return own.m_record == track.m_record; };
    detail::Require(std::ranges::any_of(m_tracks, isSame), E_INVALIDARG, m_path, "the track is one of another image");
    const UINT size = blockSize == 0 ? track.BlockBytes() : blockSize;
    const UINT offset = OffsetInSector(Record(), *track.m_record, size);
    const bool isPart = track.Mode() == Mode::Audio && size < std::min(track.BlockBytes(), 2352U);
    detail::Require(!isPart && size != 0 && offset + UHYPER{size} <= track.BlockBytes(), E_INVALIDARG, m_path,
                    "its sectors hold no block of " + std::to_string(size) + " bytes; give another block size");
    return Stream({track.OffsetBytes(), track.SectorsInFile(), track.BlockBytes(), offset, size});
  }
  /// Opens any sectors of the data file.
  TrackStream Stream(const SectorRun& run) const {
    const std::string file = DataFile();
    detail::Require(SizeOf(file).has_value(), ZSE_FILENOTFOUND, file);
    // Records of this run alone: the stream reads its offset and geometry from nothing else.
    zsimagefileinfo info{};
    info.dwSeekBegin64 = run.begin;
    info.nSubCount = static_cast<USHORT>(run.dataOffset);
    ZSTRACK track{};
    track.dwEndLBA = run.sectors;
    track.BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(run.blockSize);
    ComPtr<IStream> stream;
    const HRESULT result = m_record->Sheets().ExtractTrackToStream(
        detail::WidePath(file).get(), nullptr, &info, &track, run.dataSize, nullptr, 0, VARIANT{}, stream.Receive());
    detail::Require(result != S_FALSE, result, file, "it cannot be opened, or the track is beyond the end of any file");
    detail::Check(result, file);
    return {std::move(stream), file, run.Bytes()};
  }

  /// Writes the data of a track to a file, which replaces one of its name once it is whole. Devices are written
  /// directly. @throws Error, also for a file of the image, and with kStopped if the progress function returned false.
  void Extract(const Track& track, const std::string& path, const ExtractOptions& options = {}) const {
    RefuseOwnFile(path);
    TrackStream stream = Stream(track, options.blockSize);
    std::vector<std::byte> buffer(128 * 1024);
    detail::ReplaceFile(path, [&](const std::string& written) {
      detail::NewFile file(written, path);
      while (const std::size_t count = stream.Read(buffer)) {
        file.Write(std::span(buffer).first(count));
        detail::Require(!options.progress || options.progress(stream.DoneBytes(), stream.SizeBytes()), kStopped, path);
      }
    });
  }

  /// Writes a CUE sheet of the first session and a .CDT file of its texts, but not the data file that it names.
  /// @param path Ends in ".cue". @throws Error, also for another .cdt file that the sheet would be read with.
  void WriteCueSheet(const std::string& path) const {
    RequireDescription(path, ".CUE");
    const auto numbered = Numbered();
    ZSCUESHEET* sheet = numbered.first.m_sessions[0].m_sheet;
    const std::vector<std::byte>& packs = numbered.second;
    const std::string name = platform::WithExtension(platform::Upper(platform::FileName(path)), ".CDT");
    const std::string texts = platform::FolderOf(path) + name;
    const std::string found = platform::SpelledOnDisk(platform::WithExtension(path, ".CDT"));
    const bool isOwn = !packs.empty() && platform::FileName(found) == NarrowToUtf8(name);
    detail::Require(isOwn || !PathFileExistsA(found), kFileExists, found,
                    "the new sheet would take its CD-Text from this file; remove it");
    detail::ReplaceFile(path, [&](const std::string& written) {
      const UniqueBstr target = detail::WidePath(written);
      detail::RequireWritten(path, [&] { return m_record->Sheets().CreateCueFile(target.get(), sheet); });
      if (!packs.empty()) {
        detail::ReplaceFile(texts, [&](const std::string& file) { detail::NewFile(file, texts).Write(packs); });
      }
    });
  }

  /// Writes a TOC file with the texts of the first session, but not the data file that it names. Readers of TOC files
  /// read every sector as 2352 bytes. @param path Ends in ".zsi". @throws Error.
  void WriteTocFile(const std::string& path) const {
    RequireDescription(path, ".ZSI");
    auto [copy, packs] = Numbered();
    zsimagefileinfo* record = &copy.Record();
    record->ZSImageFormat = ZSIMAGEFORMAT_ZSI;
    auto* texts = reinterpret_cast<zsmmccdtext*>(packs.data());
    const auto bytes = static_cast<UINT>(packs.size());
    detail::ReplaceFile(path, [&](const std::string& written) {
      const UniqueBstr target = detail::WidePath(written);
      detail::RequireWritten(
          path, [&] { return m_record->Images().CreateTOCFile(target.get(), record, nullptr, 0, texts, bytes); });
    });
  }

  /// Returns the texts of the first session as packs of 18 bytes (Red Book); none if it has no texts. @throws Error.
  std::vector<std::byte> EncodeCdText() const { return Numbered().second; }

  /// @throws Error if a path is that of a file of the image: its description, its data file or a companion.
  void RefuseOwnFile(const std::string& path) const {
    detail::WidePath(path); // Throws for a path with a zero byte.
    const bool isSheet = Format() == imagefile::Format::Cue;
    const bool isOwn = platform::IsSameFile(path, m_path) || platform::IsSameFile(path, DataFile()) ||
                       (isSheet && platform::IsSameFile(path, platform::WithExtension(m_path, ".CDT"))) ||
                       ((isSheet || Format() == imagefile::Format::Ccd) &&
                        platform::IsSameFile(path, platform::WithExtension(m_path, ".SUB")));
    detail::Require(!isOwn, E_INVALIDARG, path, "this file belongs to the image; give another name");
  }

private:
  friend Image DecodeCdText(std::span<const std::byte> packs, unsigned trackCount);

  /// A record, and the objects that fill it and free it. Freeing cannot fail.
  struct OwnedRecord : Interfaces, zsimagefileinfo {
    OwnedRecord() : zsimagefileinfo{} {}
    ~OwnedRecord() {
      std::for_each_n(pZSCueSheet, nSessions, [&](auto* sheet) { Sheets().FreeZSCueSheet(sheet, VARIANT_TRUE); });
      SysFreeString(bstrImageBinaryFile);
    }
  };

  Image() = default;
  std::optional<std::uint64_t> SizeOf(const std::string& dataFile) const {
    const bool isOneFile = Format() == imagefile::Format::Iso || Format() == imagefile::Format::Nrg;
    return isOneFile || !platform::IsSameFile(dataFile, m_path) ? platform::FileSize(dataFile) : std::nullopt;
  }

  void MakeViews() {
    const std::span sheets(m_record->pZSCueSheet, m_record->nSessions);
    const auto count = [](std::size_t sum, const ZSCUESHEET* sheet) { return sum + sheet->nTracks; };
    m_tracks.reserve(std::accumulate(sheets.begin(), sheets.end(), std::size_t{0}, count)); // They stay in place.
    ExtentFinder finder(*m_record);
    for (ZSCUESHEET* sheet : sheets) {
      const std::size_t first = m_tracks.size();
      finder.VisitSession(*sheet, [&](const ZSTRACK& record, TrackExtent extent) {
        const bool isAfterEnd = extent.MayBeginAfterFile() && extent.begin > DataFileBytes().value_or(kToEndOfFile);
        extent.sectors = isAfterEnd ? 0 : extent.sectors;
        m_tracks.push_back(Track(record, extent));
      });
      m_sessions.push_back(Session(*sheet, m_sessions.size() + 1, std::span(m_tracks).subspan(first)));
    }
  }

  /// Returns a copy for descriptions, whose tracks are numbered by their order, and its CD-Text packs.
  std::pair<Image, std::vector<std::byte>> Numbered() const {
    Image copy = Clone();
    detail::Require(!copy.m_sessions.empty(), ZSE_FAILED, m_path, "the image has no session");
    for (const Session& session : copy.m_sessions) {
      bool hasText = session.HasText();
      for (UINT i = 0; i < session.m_sheet->nTracks; ++i) {
        session.m_sheet->pZSTracks[i].TNO = i + 1;
        hasText = hasText || session.m_tracks[i].HasText();
      }
      session.m_sheet->ZSCDTEXT.CDTextPresent = hasText && session.Number() == 1 ? VARIANT_TRUE : VARIANT_FALSE;
    }
    BYTE* data = nullptr;
    LONG length = 0;
    ZSCUESHEET* first = copy.m_sessions[0].m_sheet;
    const HRESULT result = m_record->Sheets().EncodeCDText(first, VARIANT_FALSE, &data, &length);
    const TaskMemory<BYTE> owned(data);
    detail::Require(SUCCEEDED(result), result, m_path);
    const auto packs = std::as_bytes(std::span(data, static_cast<std::size_t>(length / 18 * 18)));
    first->ZSCDTEXT.CDTextPresent = packs.empty() ? VARIANT_FALSE : VARIANT_TRUE;
    return {std::move(copy), std::vector(packs.begin(), packs.end())};
  }

  void RequireDescription(const std::string& path, std::string_view extension) const {
    const std::string name = platform::FileName(path);
    const std::string_view forbidden = extension == ".ZSI" ? "\"\r\n<>" : "\"\r\n";
    const bool isGood =
        lstrcmpiA(name.substr(PathFindExtensionA(name)), extension) == 0 && name.find_first_of(forbidden) == name.npos;
    detail::Require(isGood, E_INVALIDARG, path,
                    std::string("give a name without quotes, line breaks, < and > that ends in ").append(extension));
    RefuseOwnFile(path);
  }

  std::string m_path;
  std::unique_ptr<OwnedRecord> m_record = std::make_unique<OwnedRecord>();
  std::vector<Track> m_tracks; // Of all sessions.
  std::vector<Session> m_sessions;
};

/// Decodes CD-Text packs of 18 bytes (Red Book). @return An image without files: one session with the texts of the
/// disc, and as many tracks as asked for with theirs. @throws Error.
inline Image DecodeCdText(std::span<const std::byte> packs, unsigned trackCount) {
  Image image;
  zsimagefileinfo& record = image.Record();
  detail::Check(image.m_record->Sheets().AllocCueSheet(&record.pZSCueSheet[0]), "");
  record.nSessions = 1;
  ZSCUESHEET& sheet = *record.pZSCueSheet[0];
  sheet.pZSTracks = trackCount == 0 ? nullptr : AllocateCleared<ZSTRACK>(trackCount);
  detail::Require(trackCount == 0 || sheet.pZSTracks != nullptr, E_OUTOFMEMORY, "");
  for (; sheet.nTracks < trackCount; ++sheet.nTracks) {
    sheet.pZSTracks[sheet.nTracks].TNO = sheet.nTracks + 1;
  }
  std::vector<std::byte> copy(packs.begin(), packs.end()); // The decoder changes it.
  copy.push_back({});
  auto* data = reinterpret_cast<BYTE*>(copy.data());
  detail::Check(image.m_record->Sheets().AnalyzeCDTextFromData(data, static_cast<UINT>(packs.size()), &sheet), "");
  image.MakeViews();
  return image;
}

} // namespace imagefile
