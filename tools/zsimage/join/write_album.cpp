#include "join/album.h"

#include <algorithm>

#include "image/raw_sector.h"
#include "output/failure.h"
#include "output/progress_bar.h"

using namespace raw_sector;

namespace {

/// Reads sectors of a piece. Silence follows its bytes.
std::string ReadSectors(const AlbumPiece& piece, UHYPER first, UHYPER count) {
  const UHYPER begin = std::min(first * piece.storedSize, piece.bytes);
  const UHYPER end = std::min((first + count) * piece.storedSize, piece.bytes);
  std::string sectors =
      begin == end ? "" : piece.file->read(piece.offset + begin, static_cast<std::size_t>(end - begin));
  sectors.resize(static_cast<std::size_t>(count * piece.storedSize));
  return sectors;
}

/// Makes raw sectors of mode 1 from 2048 bytes of user data, or of mode 2 from the 2336 bytes after the header.
std::string Widen(const AlbumPiece& piece, UHYPER position, const std::string& stored) {
  constexpr std::size_t kRawBytes = ZSFILEBLOCKSIZE_2352;
  const bool isMode1 = piece.storedSize == ZSFILEBLOCKSIZE_2048;
  std::string raw(stored.size() / piece.storedSize * kRawBytes, '\0');
  auto* sector = reinterpret_cast<BYTE*>(raw.data());
  for (auto from = stored.begin(); from != stored.end(); from += piece.storedSize, sector += kRawBytes) {
    if (!isMode1 && !std::equal(from, from + kSubHeaderBytes, from + kSubHeaderBytes)) {
      Fail(piece.file->path, ZSE_FAILED,
           "track {} has sectors of 2336 bytes without sub-headers, which cannot be widened to the size of the other "
           "tracks",
           UINT{piece.track->TNO});
    }
    std::copy_n(from, piece.storedSize, sector + kUserData); // The sub-header of mode 2 is at the same offset.
    WriteHeader(static_cast<LONG>(position++), isMode1 ? 1 : 2, sector);
    if (isMode1) {
      WriteMode1Codes(sector);
    }
  }
  return raw;
}

} // namespace

void WriteAlbum(const Album& album, OutputFile* output) {
  constexpr UHYPER kSectorsAtOnce = 111;
  ProgressBar progress("sectors", album.Bytes());
  UHYPER position = 0;
  for (const AlbumPiece& piece : album.pieces) {
    for (UHYPER done = 0; done < piece.sectors; done += kSectorsAtOnce) {
      const UHYPER count = std::min(kSectorsAtOnce, piece.sectors - done);
      std::string sectors = ReadSectors(piece, done, count);
      if (piece.storedSize != album.BlockSize()) {
        sectors = Widen(piece, position, sectors);
      }
      output->Write(sectors);
      progress.Advance(sectors.size());
      position += count;
    }
  }
}
