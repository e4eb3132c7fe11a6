/// @file
/// Disc images for C++ programs: owners, views, UTF-8 and exceptions over the interfaces. Header-only.
///
/// Positions are sectors of the disc, 75 to a second (Red Book); other numbers have their unit in the name. Texts and
/// paths are UTF-8; platform/file_lookup.h says how paths are found. Functions throw Error, or std::bad_alloc. One
/// thread at a time uses an image and what it returns; several threads may use several images.
///
/// Link `ImageFile::ImageFile`, or `ImageFile::Platform` if `zsimage register` has registered the library.
#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/error.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/output_file.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"
#include "platform/files.h"
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

/// @cond
namespace detail {

template <class I> ComPtr<I> Create(REFCLSID clsid, REFIID iid) {
  ComPtr<I> object;
  Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid()), "");
  return object;
}

inline std::string Utf8(BSTR text) { return NarrowToUtf8(WideCharToMultiByte(BstrView(text))); }
inline std::optional<std::string> TextOf(BSTR text) {
  return text == nullptr ? std::nullopt : std::optional(Utf8(text));
}

} // namespace detail
/// @endcond

/// Texts of a disc or a track as UTF-8, each std::nullopt if the image has none.
template <class R> class Texts {
public:
  std::optional<std::string> Title() const { return detail::TextOf(m_record->bstrTitle); } ///< Title.
  std::optional<std::string> Composer() const {
    return detail::TextOf(m_record->bstrComposer);
  } ///< Who wrote the music.
  std::optional<std::string> Performer() const { return detail::TextOf(m_record->bstrPerformer); } ///< Who performs.
  std::optional<std::string> Songwriter() const {
    return detail::TextOf(m_record->bstrSongwriter);
  } ///< Who wrote the words.
  std::optional<std::string> Arranger() const { return detail::TextOf(m_record->bstrArranger); } ///< Who arranged it.
  std::optional<std::string> Genre() const { return detail::TextOf(m_record->bstrGenre); }       ///< Genre.
  std::optional<std::string> Message() const { return detail::TextOf(m_record->bstrMessage); }   ///< The maker's.

protected:
  explicit Texts(const R& record) noexcept : m_record(&record) {} ///< The record must outlive it.
  /// Whether there is any text.
  bool HasText() const {
    return Title() || Composer() || Performer() || Songwriter() || Arranger() || Genre() || Message();
  }
  const R* m_record; ///< The record.
};

/// View of a track. Valid while the image lives, also after it is moved.
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
  /// Whether a control flag is set.
  bool Has(Flags flag) const noexcept { return (m_record->Flags & static_cast<LONG>(flag)) != 0; }
  /// International standard recording code, not checked.
  std::optional<std::string> Isrc() const { return detail::TextOf(m_record->bstrISRC); }
  const ZSTRACK& Record() const noexcept { return *m_record; } ///< The record.

  std::uint32_t BlockBytes() const noexcept { return BlockOf(*m_record); } ///< Bytes of a sector in the data file.
  /// Offset in the data file of the sector at Start. It does not follow from Start alone: a file leaves out what is
  /// between sessions, or between tracks that were recorded one by one, and the sectors of PREGAP lines.
  std::uint64_t OffsetBytes() const noexcept { return m_offset; }
  std::uint32_t SectorsInFile() const noexcept { return m_sectors; }      ///< From OffsetBytes on, in a whole file.
  std::uint32_t PregapSectorsInFile() const noexcept { return m_pregap; } ///< Directly before OffsetBytes.
  /// Returns how many of SectorsInFile a data file of a size lacks (Image::DataFileBytes).
  std::uint32_t MissingSectors(std::uint64_t dataFileBytes) const noexcept {
    const std::uint64_t bytes = dataFileBytes > m_offset ? dataFileBytes - m_offset : 0;
    return m_sectors -
           static_cast<std::uint32_t>(std::min<std::uint64_t>(m_sectors, bytes / std::max(BlockBytes(), 1U)));
  }

private:
  friend class Image;
  static std::uint32_t BlockOf(const ZSTRACK& record) noexcept {
    return record.BlockSize > 0 ? static_cast<std::uint32_t>(record.BlockSize) : 0;
  }
  std::uint64_t EndBytes() const noexcept { return m_offset + std::uint64_t{m_sectors} * BlockBytes(); }
  Track(const ZSTRACK& record, std::uint64_t offset, std::uint32_t sectors, std::uint32_t pregap) noexcept
      : Texts(record), m_offset(offset), m_sectors(sectors), m_pregap(pregap) {}

  std::uint64_t m_offset;
  std::uint32_t m_sectors;
  std::uint32_t m_pregap;
};

/// View of a session, with the texts of the disc; CD-Text is in the first session alone. Valid as a Track is.
class Session : public Texts<::ZSCDTEXT> {
public:
  unsigned Number() const noexcept { return m_number; }                                     ///< From 1.
  std::span<const Track> Tracks() const noexcept { return m_tracks; }                       ///< The tracks.
  SessionFormat Format() const noexcept { return SessionFormat{m_sheet->ZSSESSIONFORMAT}; } ///< In the lead-in.
  bool HasCdText() const noexcept { return m_record->CDTextPresent == VARIANT_TRUE; } ///< Whether texts are of CD-Text.
  /// Media catalogue number, not checked.
  std::optional<std::string> Mcn() const { return detail::TextOf(m_record->bstrMCN); }
  const ZSCUESHEET& Record() const noexcept { return *m_sheet; } ///< The record.

private:
  friend class Image;
  Session(ZSCUESHEET& sheet, unsigned number, std::span<const Track> tracks) noexcept
      : Texts(sheet.ZSCDTEXT), m_sheet(&sheet), m_number(number), m_tracks(tracks) {}

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
    if (buffer.empty()) {
      return 0;
    }
    ULONG count = 0;
    const auto wanted = static_cast<ULONG>(std::min<std::size_t>(buffer.size(), 1U << 30));
    const HRESULT result = m_stream->Read(buffer.data(), wanted, &count);
    m_done += count;
    if (FAILED(result) || (count == 0 && m_done < m_size)) {
      throw Error(FAILED(result) ? result : HRESULT_FROM_WIN32(ERROR_HANDLE_EOF), m_dataFile,
                  "the track cannot be read as a whole: " + std::to_string(m_done) + " of its " +
                      std::to_string(m_size) + " bytes are there");
    }
    return count;
  }
  std::uint64_t SizeBytes() const noexcept { return m_size; } ///< Of the whole stream.
  std::uint64_t DoneBytes() const noexcept { return m_done; } ///< Read so far.

private:
  friend class Image;
  TrackStream(ComPtr<IStream> stream, std::string dataFile, std::uint64_t size) noexcept
      : m_stream(std::move(stream)), m_dataFile(std::move(dataFile)), m_size(size) {}

  ComPtr<IStream> m_stream;
  std::string m_dataFile;
  std::uint64_t m_size;
  std::uint64_t m_done = 0;
};

/// Where a sector of the disc is.
struct SectorPosition {
  Session session;           ///< The session.
  Track track;               ///< The track that holds it, or has it in its pregap.
  bool isInPregap;           ///< Whether it is in the pregap.
  std::uint64_t offsetBytes; ///< Offset of the sector in the data file.
};

/// How a track is extracted.
struct ExtractOptions {
  std::uint32_t blockSize = 0; ///< Bytes to take of each sector: 2048 for the user data of a data track, 0 for all.
  /// Called after each piece. False, or an exception, stops the extraction.
  std::function<bool(std::uint64_t doneBytes, std::uint64_t totalBytes)> progress = {};
};

/// A disc image that was read. Owns its record. Once moved from, it may only be destroyed or assigned to.
class Image {
public:
  /// Reads an image. @throws Error.
  explicit Image(const std::string& path) : Image() {
    m_path = path;
    detail::Check(Images().GetImageFileInfo(detail::WidePath(path).get(), &Record()), path);
    MakeViews();
  }
  /// Returns an image with a deep copy of the record.
  Image Clone() const {
    Image copy;
    copy.m_path = m_path;
    detail::Check(Images().Clone(m_record.get(), &copy.Record()), m_path);
    copy.MakeViews();
    return copy;
  }

  const std::string& Path() const noexcept { return m_path; } ///< Path of the description, as it was given.
  /// Path of the file that has the sectors, as it is spelled on disk. Looks there at each call, as DataFileBytes does.
  std::string DataFile() const { return detail::OnDisk(detail::Utf8(Record().bstrImageBinaryFile)); }
  /// Size of the data file; std::nullopt if there is no such file.
  std::optional<std::uint64_t> DataFileBytes() const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(DataFile(), error);
    return error ? std::nullopt : std::optional<std::uint64_t>(size);
  }
  /// Format of the description.
  imagefile::Format Format() const noexcept { return imagefile::Format{Record().ZSImageFormat}; }
  imagefile::Kind Kind() const noexcept { return imagefile::Kind{Record().ZSTYPEPROJECT}; } ///< What the disc is.
  /// Whether something accompanies the image.
  bool Has(Mask mask) const noexcept { return (Record().lMask & static_cast<LONG>(mask)) != 0; }
  std::uint32_t DiscId() const noexcept { return Record().dwDiscID; }       ///< Disc identifier in the manner of CDDB.
  std::span<const Session> Sessions() const noexcept { return m_sessions; } ///< The sessions.
  /// The record, for the interfaces. Its tables must stay where they are, and offsets do not follow its changes.
  zsimagefileinfo& Record() noexcept { return *m_record; }
  const zsimagefileinfo& Record() const noexcept { return *m_record; } ///< The same, to look at.

  /// Finds a sector of the disc in the data file; std::nullopt if it is in no track. IZSImageFile::GetPositionFromLBA
  /// finds the track of a sector instead.
  std::optional<SectorPosition> PositionOf(std::int64_t sector) const {
    for (const Session& session : Sessions()) {
      for (const Track& track : session.Tracks()) {
        const std::int64_t distance = sector - track.Start();
        if (distance >= -std::int64_t{track.m_pregap} && distance < track.m_sectors) {
          const std::uint64_t bytes = static_cast<std::uint64_t>(distance) * track.BlockBytes();
          return SectorPosition{session, track, distance < 0, track.m_offset + bytes};
        }
      }
    }
    return std::nullopt;
  }

  /// Opens the data of a track of this image, without its pregap. @param track The track.
  /// @param blockSize As ExtractOptions::blockSize. @throws Error.
  TrackStream Stream(const Track& track, std::uint32_t blockSize = 0) const {
    const auto isSame = [&](const Track& ours) { return ours.m_record == track.m_record; };
    detail::Require(std::any_of(m_tracks.begin(), m_tracks.end(), isSame), E_INVALIDARG, m_path,
                    "the track is one of another image");
    const std::string dataFile = DataFile();
    const bool hasOther = Format() != imagefile::Format::Iso && Format() != imagefile::Format::Nrg;
    detail::Require(PathFileExistsA(dataFile) && !(hasOther && detail::IsSameFile(dataFile, Path())), ZSE_FILENOTFOUND,
                    dataFile);
    // Records of this one run of sectors: the stream takes its offset and geometry from nothing else.
    const UINT size = blockSize == 0 ? track.BlockBytes() : blockSize;
    zsimagefileinfo info{};
    info.dwSeekBegin64 = track.m_offset;
    info.nSubCount = OffsetInSector(track, size);
    ZSTRACK run{};
    run.dwEndLBA = track.m_sectors;
    run.BlockSize = track.m_record->BlockSize;
    ComPtr<IStream> stream;
    detail::Check(Sheets().ExtractTrackToStream(detail::WidePath(dataFile).get(), nullptr, &info, &run, size, nullptr,
                                                0, VARIANT{}, stream.Receive()),
                  dataFile, "the file cannot be opened, or the track is beyond any file");
    return {std::move(stream), dataFile, std::uint64_t{track.m_sectors} * size};
  }

  /// Writes the data of a track to a file, which replaces one of its name once it is whole. Devices are written
  /// directly, and pipes not at all. @throws Error, also for a file of the image; its code is kStopped if the progress
  /// function returned false. Exceptions of the progress function leave as they are.
  void Extract(const Track& track, const std::string& path, const ExtractOptions& options = {}) const {
    RefuseOwnFile(path);
    TrackStream stream = Stream(track, options.blockSize);
    detail::OutputFile file(path);
    std::vector<std::byte> buffer(128 * 1024);
    while (const std::size_t count = stream.Read(buffer)) {
      file.Write(std::span(buffer).first(count));
      detail::Require(!options.progress || options.progress(stream.DoneBytes(), stream.SizeBytes()), kStopped, path);
    }
    file.Publish();
  }

  /// Writes a CUE sheet of the first session and a .CDT file of its texts, but not the data file that it names.
  /// @param path Ends in ".cue". @throws Error, also for another .cdt that the sheet would be read with.
  void WriteCueSheet(const std::string& path) const {
    RequireDescription(path, ".CUE");
    std::vector<std::byte> packs;
    const Image copy = Numbered(&packs);
    ZSCUESHEET* sheet = copy.Sessions()[0].m_sheet;
    const std::string text =
        detail::MakeDescription(path, [&](BSTR target) { return Sheets().CreateCueFile(target, sheet); });
    const std::string name = detail::WithExtension(platform::Upper(detail::FileName(path)), ".CDT");
    const std::string found = detail::OnDisk(detail::WithExtension(path, ".CDT"));
    detail::Require(!PathFileExistsA(found) || (!packs.empty() && detail::FileName(found) == NarrowToUtf8(name)),
                    kFileExists, found, "the new sheet would take its CD-Text from this file; remove it");
    detail::OutputFile file(path);
    file.Write(std::as_bytes(std::span(text)));
    if (!packs.empty()) {
      detail::OutputFile texts(detail::FolderOf(path) + name);
      texts.Write(packs);
      texts.Publish();
    }
    file.Publish();
  }

  /// Writes a TOC file with the texts of the first session, but not the data file that it names. Readers of TOC files
  /// take every sector as 2352 bytes. @param path Ends in ".zsi". @throws Error.
  void WriteTocFile(const std::string& path) const {
    RequireDescription(path, ".ZSI");
    std::vector<std::byte> packs;
    Image copy = Numbered(&packs);
    copy.Record().ZSImageFormat = ZSIMAGEFORMAT_ZSI;
    const std::string text = detail::MakeDescription(path, [&](BSTR target) {
      return Images().CreateTOCFile(target, &copy.Record(), nullptr, 0, reinterpret_cast<zsmmccdtext*>(packs.data()),
                                    static_cast<UINT>(packs.size()));
    });
    detail::OutputFile file(path);
    file.Write(std::as_bytes(std::span(text)));
    file.Publish();
  }

  /// Returns the texts of the first session as packs of 18 bytes (Red Book); none if it has no texts. @throws Error.
  std::vector<std::byte> EncodeCdText() const {
    std::vector<std::byte> packs;
    Numbered(&packs);
    return packs;
  }

private:
  friend Image DecodeCdText(std::span<const std::byte> packs, unsigned trackCount);

  /// The objects, and what frees a record without any failure.
  struct Services {
    Services()
        : images(detail::Create<IZSImageFile>(CLSID_ZSImageFile, IID_IZSImageFile)),
          sheets(detail::Create<IZSCueSheet>(CLSID_ZSCueSheet, IID_IZSCueSheet)) {}
    void operator()(zsimagefileinfo* record) const {
      std::for_each_n(record->pZSCueSheet, record->nSessions,
                      [&](ZSCUESHEET* sheet) { sheets->FreeZSCueSheet(sheet, VARIANT_TRUE); });
      SysFreeString(record->bstrImageBinaryFile);
      delete record;
    }
    ComPtr<IZSImageFile> images;
    ComPtr<IZSCueSheet> sheets;
  };

  Image() : m_record(nullptr, Services()) { m_record.reset(new zsimagefileinfo{}); }
  IZSImageFile& Images() const noexcept { return *m_record.get_deleter().images.Get(); }
  IZSCueSheet& Sheets() const noexcept { return *m_record.get_deleter().sheets.Get(); }

  void MakeViews() {
    const std::span sheets(m_record->pZSCueSheet, m_record->nSessions);
    const auto countTracks = [](std::size_t sum, const ZSCUESHEET* sheet) { return sum + sheet->nTracks; };
    m_tracks.reserve(std::accumulate(sheets.begin(), sheets.end(), std::size_t{0}, countTracks)); // They stay in place.
    UHYPER offset = m_record->dwSeekBegin64;
    for (ZSCUESHEET* sheet : sheets) {
      const std::size_t first = m_tracks.size();
      AppendTracks({sheet->pZSTracks, sheet->nTracks}, &offset);
      m_sessions.push_back(
          Session(*sheet, static_cast<unsigned>(m_sessions.size() + 1), std::span(m_tracks).subspan(first)));
    }
  }

  /// Finds the tracks of a session in the file, from an offset on. The file leaves out what is between sessions or
  /// tracks that were recorded one by one; a PREGAP line moves `dwLBA` and no index. Sums are taken modulo 2^64.
  void AppendTracks(std::span<const ZSTRACK> records, UHYPER* offset) {
    const bool isTrackAtOnce = Has(Mask::TrackAtOnce);
    const auto hasOtherSize = [&](const ZSTRACK& track) { return Track::BlockOf(track) != Track::BlockOf(records[0]); };
    // Media Descriptor images state the offsets, which others leave to be computed.
    const bool isStated = Format() == imagefile::Format::Mds &&
                          (!m_sessions.empty() || std::any_of(records.begin(), records.end(), hasOtherSize));
    UHYPER sector = 0; // In the file, at `*offset`.
    UHYPER size = records.empty() ? 0 : Track::BlockOf(records[0]);
    for (const ZSTRACK& record : records) {
      const bool isListed = Format() == imagefile::Format::Cue && record.pdwIndex != nullptr && record.nCountIndex > 1;
      const ULONG index = isListed ? record.pdwIndex[1] : record.dwLBA;
      const UHYPER start = index - static_cast<UHYPER>(isTrackAtOnce ? 0 : std::int64_t{record.Pregap});
      const bool isNext = isTrackAtOnce || (&record == &records[0] && !m_sessions.empty());
      *offset += isNext ? 0 : (start - sector) * size;
      size = Track::BlockOf(record);
      *offset += (index - start) * size;
      const UHYPER begin = isStated && record.dwReserved64 != 0 ? UHYPER{record.dwReserved64} : *offset;
      const ULONG sectors = record.dwEndLBA > index ? record.dwEndLBA - index : 0;
      const UHYPER end = m_tracks.empty() ? UHYPER{m_record->dwSeekBegin64} : m_tracks.back().EndBytes();
      const UHYPER room = size != 0 && begin > end ? (begin - end) / size : 0;
      const auto pregap = static_cast<UHYPER>(std::max(LONG{record.Pregap}, 0));
      m_tracks.push_back(Track(record, begin, sectors, static_cast<std::uint32_t>(std::min(room, pregap))));
      *offset += isTrackAtOnce ? sectors * size : 0;
      sector = index;
    }
    if (!records.empty() && !isTrackAtOnce) {
      *offset += (records.back().dwEndLBA + static_cast<UHYPER>(std::int64_t{records.back().Postgap}) - sector) * size;
    }
  }

  /// Returns a copy for descriptions, with tracks numbered by their order, and CD-Text marked if there are packs.
  Image Numbered(std::vector<std::byte>* packs) const {
    Image copy = Clone();
    detail::Require(!copy.Sessions().empty(), ZSE_FAILED, Path(), "the image has no session");
    for (const Session& session : copy.Sessions()) {
      bool hasText = session.HasText();
      for (UINT i = 0; i < session.m_sheet->nTracks; ++i) {
        session.m_sheet->pZSTracks[i].TNO = i + 1;
        hasText = hasText || session.Tracks()[i].HasText();
      }
      session.m_sheet->ZSCDTEXT.CDTextPresent = hasText && session.Number() == 1 ? VARIANT_TRUE : VARIANT_FALSE;
    }
    BYTE* data = nullptr;
    LONG length = 0;
    ZSCUESHEET* first = copy.Sessions()[0].m_sheet;
    const HRESULT result = Sheets().EncodeCDText(first, VARIANT_FALSE, &data, &length);
    const TaskMemory<BYTE> owned(data);
    detail::Require(SUCCEEDED(result), result, Path());
    const auto bytes = std::as_bytes(std::span(data, static_cast<std::size_t>(length / 18 * 18)));
    packs->assign(bytes.begin(), bytes.end());
    first->ZSCDTEXT.CDTextPresent = packs->empty() ? VARIANT_FALSE : VARIANT_TRUE;
    return copy;
  }

  /// Returns where the wanted bytes of a sector begin: 2048 are the user data, after header and sub-header.
  USHORT OffsetInSector(const Track& track, UINT size) const {
    const UINT block = track.BlockBytes();
    const bool isRaw = block >= ZSFILEBLOCKSIZE_2352;
    const bool isWhole = size == block || (isRaw && size >= ZSFILEBLOCKSIZE_2352);
    const bool hasSubHeader = track.Mode() != Mode::Mode1 && (isRaw || block == ZSFILEBLOCKSIZE_2336) &&
                              size != ZSFILEBLOCKSIZE_2336 && size != ZSFILEBLOCKSIZE_2332 &&
                              size != ZSFILEBLOCKSIZE_2056;
    const UINT offset = isWhole ? 0 : (isRaw ? 16 : 0) + (hasSubHeader ? 8 : 0);
    const bool isAllowed = isWhole || track.Mode() != Mode::Audio;
    detail::Require(block != 0 && isAllowed && size <= block && offset <= block - size, E_INVALIDARG, Path(),
                    "sectors of " + std::to_string(block) + " bytes hold no block of " + std::to_string(size) +
                        " bytes; give another block size");
    return static_cast<USHORT>(offset);
  }

  void RefuseOwnFile(const std::string& path) const {
    const auto isSame = [&](const std::string& own) { return detail::IsSameFile(path, own); };
    detail::Require(!isSame(Path()) && !isSame(DataFile()) && !isSame(detail::WithExtension(Path(), ".CDT")) &&
                        !isSame(detail::WithExtension(Path(), ".SUB")),
                    E_INVALIDARG, path, "this file belongs to the image; give another name");
  }
  void RequireDescription(const std::string& path, std::string_view extension) const {
    const std::string name = detail::FileName(path);
    detail::Require(
        lstrcmpiA(name.substr(PathFindExtensionA(name)), extension) == 0 && name.find_first_of("\"\r\n") == name.npos,
        E_INVALIDARG, path, std::string("give a name without quotes and line breaks that ends in ").append(extension));
    RefuseOwnFile(path);
  }

  std::string m_path;
  std::unique_ptr<zsimagefileinfo, Services> m_record;
  std::vector<Track> m_tracks; // Of all sessions.
  std::vector<Session> m_sessions;
};

/// Decodes CD-Text packs of 18 bytes (Red Book). @return An image without files: one session with the texts of the
/// disc, and as many tracks as asked for with theirs. @throws Error.
inline Image DecodeCdText(std::span<const std::byte> packs, unsigned trackCount) {
  Image image;
  detail::Check(image.Sheets().AllocCueSheet(&image.Record().pZSCueSheet[0]), "");
  image.Record().nSessions = 1;
  ZSCUESHEET& sheet = *image.Record().pZSCueSheet[0];
  sheet.pZSTracks = AllocateCleared<ZSTRACK>(trackCount);
  detail::Require(sheet.pZSTracks != nullptr, E_OUTOFMEMORY, "");
  for (; sheet.nTracks < trackCount; ++sheet.nTracks) {
    sheet.pZSTracks[sheet.nTracks].TNO = sheet.nTracks + 1;
  }
  std::vector<std::byte> copy(packs.begin(), packs.end()); // The decoder changes it.
  copy.push_back({});
  detail::Check(image.Sheets().AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(copy.data()),
                                                     static_cast<UINT>(packs.size()), &sheet),
                "");
  image.MakeViews();
  return image;
}

} // namespace imagefile
