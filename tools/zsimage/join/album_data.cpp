#include "join/album_data.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "image/raw_sector.h"
#include "output/failure.h"
#include "output/progress_bar.h"
#include "sound/sound_file.h"

using namespace raw_sector;

namespace {

constexpr std::size_t kBufferBytes = 1U << 20;
constexpr UINT kRawBytes = ZSFILEBLOCKSIZE_2352;

/// Reader of the bytes of one file, from an offset on.
class FileBytes {
public:
  FileBytes(const AlbumFile& file, UHYPER offset) : m_file(file) {
    if (file.isSound) {
      m_sound.emplace(file.path);
      m_sound->Seek(offset);
      return;
    }
    m_descriptor = open(file.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_descriptor == -1 || lseek(m_descriptor, static_cast<off_t>(offset), SEEK_SET) == -1) {
      throw Failure(file.path, "the file cannot be opened for reading", ZSE_CANNOTOPENIMAGE);
    }
  }
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;
  ~FileBytes() {
    if (m_descriptor != -1) {
      close(m_descriptor);
    }
  }

  /// Reads bytes. Samples are little-endian, as in an image.
  void Read(BYTE* data, std::size_t size) {
    if (m_sound) {
      m_sound->Read(data, size);
      return;
    }
    for (std::size_t done = 0; done < size;) {
      const ssize_t count = read(m_descriptor, data + done, size - done);
      if (count == 0) {
        throw Failure(m_file.path, "the file has become shorter", ERROR_HANDLE_EOF);
      }
      if (count == -1 && errno != EINTR) {
        throw Failure(m_file.path, "the file cannot be read", ERROR_IO_DEVICE);
      }
      done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    for (std::size_t i = 0; m_file.isSwapped && i + 1 < size; i += 2) {
      std::swap(data[i], data[i + 1]);
    }
  }

private:
  const AlbumFile& m_file;
  std::optional<SoundReader> m_sound;
  int m_descriptor = -1;
};

class AlbumWriter {
public:
  AlbumWriter(const Album& album, const ZSCUESHEET& record, OutputFile* output)
      : m_album(album), m_tracks(Tracks(record)), m_output(*output), m_progress("sectors", album.Bytes()),
        m_buffer(kBufferBytes), m_wide(kBufferBytes) {}

  void Write() {
    for (const AlbumPiece& piece : m_album.pieces) {
      if (piece.file == nullptr) {
        WriteSilence(piece);
      } else {
        WriteFile(piece);
      }
    }
  }

private:
  void WriteFile(const AlbumPiece& piece) {
    FileBytes file(*piece.file, piece.offset);
    const ULONG atOnce = static_cast<ULONG>(kBufferBytes / kRawBytes);
    UHYPER left = piece.bytes;
    for (ULONG done = 0; done < piece.sectors; done += atOnce) {
      const ULONG sectors = std::min(atOnce, piece.sectors - done);
      const std::size_t size = std::size_t{sectors} * piece.storedSize;
      const auto present = static_cast<std::size_t>(std::min<UHYPER>(left, size));
      file.Read(m_buffer.data(), present);
      std::fill(m_buffer.begin() + static_cast<std::ptrdiff_t>(present),
                m_buffer.begin() + static_cast<std::ptrdiff_t>(size), BYTE{0});
      left -= present;
      WriteSectors(piece, sectors);
    }
  }

  /// Writes sectors from the buffer, widened if the album has larger sectors.
  void WriteSectors(const AlbumPiece& piece, ULONG sectors) {
    const std::vector<BYTE>* data = &m_buffer;
    if (piece.storedSize != m_album.blockSize) {
      for (ULONG i = 0; i < sectors; ++i) {
        Widen(piece, m_buffer.data() + std::size_t{i} * piece.storedSize, m_position + i,
              m_wide.data() + std::size_t{i} * kRawBytes);
      }
      data = &m_wide;
    }
    const std::size_t size = std::size_t{sectors} * m_album.blockSize;
    m_output.Write(data->data(), size);
    m_progress.Advance(size);
    m_position += sectors;
  }

  /// Makes a raw sector from the 2048 bytes of user data (mode 1), or from the 2336 bytes after the header (mode 2).
  static void Widen(const AlbumPiece& piece, const BYTE* stored, ULONG position, BYTE* raw) {
    if (piece.storedSize == ZSFILEBLOCKSIZE_2048) {
      std::copy_n(stored, piece.storedSize, raw + kUserData);
      CompleteMode1Sector(static_cast<LONG>(position), raw);
      return;
    }
    if (!std::equal(stored, stored + kSubHeaderBytes, stored + kSubHeaderBytes)) {
      Fail(piece.file->path, ZSE_FAILED,
           "track {} has sectors of 2336 bytes without sub-headers, which cannot be widened to the size of the other "
           "tracks",
           piece.track + 1);
    }
    std::copy_n(stored, piece.storedSize, raw + kSubHeader);
    WriteHeader(static_cast<LONG>(position), 2, raw);
  }

  void WriteSilence(const AlbumPiece& piece) {
    const bool isData = piece.track != kNoTrack && m_tracks[piece.track].Mode != ZSMODE_AUDIO;
    std::vector<BYTE> sector(m_album.blockSize);
    for (ULONG i = 0; i < piece.sectors; ++i, ++m_position) {
      if (isData && m_album.blockSize == kRawBytes) {
        MakeEmpty(m_tracks[piece.track].Mode, &sector);
      }
      m_output.Write(sector.data(), sector.size());
      m_progress.Advance(sector.size());
    }
  }

  /// Makes an empty raw sector: of mode 1, or of mode 2 form 2, which needs no codes.
  void MakeEmpty(ZSMODETYPE mode, std::vector<BYTE>* sector) const {
    const auto position = static_cast<LONG>(m_position);
    std::fill(sector->begin(), sector->end(), BYTE{0});
    if (mode == ZSMODE_1) {
      CompleteMode1Sector(position, sector->data());
      return;
    }
    WriteHeader(position, 2, sector->data());
    (*sector)[kSubHeader + kSubMode] = kForm2Bit;
    (*sector)[kSubHeader + kSubHeaderBytes + kSubMode] = kForm2Bit;
  }

  const Album& m_album;
  std::span<ZSTRACK> m_tracks;
  OutputFile& m_output;
  ProgressBar m_progress;
  std::vector<BYTE> m_buffer; ///< Sectors as they are in the file.
  std::vector<BYTE> m_wide;   ///< The same sectors, widened to raw sectors.
  ULONG m_position = 0;       ///< Position of the next sector.
};

} // namespace

void WriteAlbum(const Album& album, const ZSCUESHEET& record, OutputFile* output) {
  AlbumWriter(album, record, output).Write();
}
