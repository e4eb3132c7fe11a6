// Compares the component with libcdio, and a stream with plain reads.
// Usage: compare_libcdio FOLDER, a folder that make_disc filled.

#include <cdio/cdio.h>
#include <cdio/logging.h>
#include <fcntl.h>
#include <unistd.h>

#include <vector>

#include "support/discs.h"
#include "support/rounds.h"

namespace {

void OpenWithLibrary(const std::string& path, driver_id_t driver) {
  CdIo_t* disc = cdio_open(path.c_str(), driver);
  if (disc == nullptr || cdio_get_num_tracks(disc) < 30) {
    ExitWithError("libcdio cannot read the album");
  }
  cdio_destroy(disc);
}

void OpenWithComponent(IZSImageFile* images, BSTR path) {
  zsimagefileinfo info{};
  if (images->GetImageFileInfo(path, &info) != S_OK || info.pZSCueSheet[0]->nTracks < 30) {
    ExitWithError("cannot read the album");
  }
  images->FreeImageFileInfo(&info);
}

void CompareOpening(const char* what, const std::string& path, driver_id_t driver) {
  const ComPtr<IZSImageFile> images = ImageFiles();
  const UniqueBstr name = Wide(path);
  CompareRounds(
      what, 201, [&] { OpenWithComponent(images.Get(), name.get()); }, [&] { OpenWithLibrary(path, driver); });
}

/// Compares a cooked stream with plain reads of the same raw bytes.
void CompareStream(const std::string& folder) {
  const UniqueBstr path = Wide(folder + "data.bin");
  Disc disc(folder + "data.cue");
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  std::vector<char> buffer(std::size_t{150} * 1024);
  CompareRounds(
      "cooked stream (plain reads of 150 KB)", 21,
      [&] {
        ComPtr<IStream> stream;
        sheets->ExtractTrackToStream(path.get(), nullptr, disc.Info(), disc.Info()->pZSCueSheet[0]->pZSTracks, 2048,
                                     nullptr, 0, VARIANT{}, stream.Receive());
        ULONG delivered = 0;
        do {
          stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &delivered);
        } while (delivered != 0);
      },
      [&] {
        const int file = ::open((folder + "data.bin").c_str(), O_RDONLY | O_CLOEXEC);
        while (::read(file, buffer.data(), buffer.size()) > 0) {
        }
        ::close(file);
      });
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  const std::string folder = std::string(argv[1]) + "/";
  cdio_loglevel_default = CDIO_LOG_ASSERT;
  CompareOpening("open the album's sheet (libcdio)", folder + "album.cue", DRIVER_BINCUE);
  CompareOpening("open the album's NRG image (libcdio)", folder + "album.nrg", DRIVER_NRG);
  CompareStream(folder);
  return 0;
}
