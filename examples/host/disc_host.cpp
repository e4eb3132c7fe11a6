// Lists a disc image and saves one of its tracks. The program uses the headers of ImageFile and finds its classes by
// name, after `zsimage register`.
//
//   disc_host IMAGE [TRACK FILE]

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"
#include "platform/text.h"

namespace {

template <class I> HRESULT Create(const OLECHAR* progId, REFIID iid, ComPtr<I>* object) {
  CLSID clsid{};
  const HRESULT result = CLSIDFromProgID(progId, &clsid);
  return FAILED(result) ? result : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid());
}

int Fail(const char* what, HRESULT result) {
  std::fprintf(stderr, "disc_host: %s: 0x%08X\n", what, static_cast<unsigned>(result));
  return EXIT_FAILURE;
}

/// The record of an image. The destructor frees what it owns.
class Disc {
public:
  explicit Disc(IZSImageFile* images) : m_images(images) {}
  Disc(const Disc&) = delete;
  Disc& operator=(const Disc&) = delete;
  ~Disc() { m_images->FreeImageFileInfo(&m_info); }
  zsimagefileinfo* Info() { return &m_info; }

private:
  IZSImageFile* m_images;
  zsimagefileinfo m_info{};
};

void List(const zsimagefileinfo& info) {
  for (unsigned session = 0; session < info.nSessions; ++session) {
    const ZSCUESHEET& sheet = *info.pZSCueSheet[session];
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      const ZSTRACK& track = sheet.pZSTracks[i];
      std::printf("session %u track %2u: sectors %6u to %6u, mode %d, %d bytes  %s\n", session + 1, UINT{track.TNO},
                  ULONG{track.dwLBA}, ULONG{track.dwEndLBA}, track.Mode, track.BlockSize,
                  NarrowToUtf8(WideCharToMultiByte(BstrView(track.bstrTitle))).c_str());
    }
  }
}

/// The bytes of a track, and those that were read.
struct Transfer {
  UHYPER total = 0;
  UHYPER done = 0;
};

/// Is called in each Read of the stream. `user` is the value that Save passes.
LONG ShowProgress(UINT, ZSSTREAMPROGRESS* progress, ULONG, VARIANT user) {
  *reinterpret_cast<Transfer*>(static_cast<std::uintptr_t>(user.ullVal)) = {progress->qwTotal, progress->qwDone};
  if (progress->nMessage == ZSSTREAM_AFTERREAD && progress->qwTotal != 0) {
    std::printf("\r%3u %%", static_cast<unsigned>(100 * progress->qwDone / progress->qwTotal));
  } else if (progress->nMessage == ZSSTREAM_END) {
    std::printf("\n");
  }
  return 0;
}

/// Copies a stream to a new file. ExtractStreamToFile does this in one call, but reports no failure.
int Copy(IStream* stream, const Transfer& transfer, const char* path) {
  std::FILE* file = std::fopen(path, "wbx"); // Replaces no existing file, which may be the image.
  if (file == nullptr) {
    std::perror(path);
    return EXIT_FAILURE;
  }
  std::vector<BYTE> buffer(64 * 1024);
  HRESULT result = S_OK;
  ULONG delivered = 0;
  bool written = true;
  do {
    result = stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &delivered);
    written = std::fwrite(buffer.data(), 1, delivered, file) == delivered;
  } while (SUCCEEDED(result) && delivered != 0 && written);
  written = std::fclose(file) == 0 && written;
  if (!written) {
    std::perror(path);
    return EXIT_FAILURE;
  }
  if (FAILED(result)) {
    return Fail("reading the track", result);
  }
  return transfer.done == transfer.total ? EXIT_SUCCESS : Fail("the image ends before the track does", E_FAIL);
}

int Save(zsimagefileinfo* info, UINT number, const char* path) {
  if (info->nSessions == 0 || number < 1 || number > info->pZSCueSheet[0]->nTracks) {
    return Fail("no such track in the first session", E_INVALIDARG);
  }
  ComPtr<IZSCueSheet> sheets;
  HRESULT result = Create(kProgIdCueSheet, IID_IZSCueSheet, &sheets);
  if (FAILED(result)) {
    return Fail("creating the cue sheet service", result);
  }
  Transfer transfer;
  VARIANT user{};
  user.vt = VT_UI8;
  user.ullVal = reinterpret_cast<std::uintptr_t>(&transfer);
  const ZSStreamCallback callback = &ShowProgress;
  ComPtr<IStream> stream;
  result = sheets->ExtractTrackToStream(info->bstrImageBinaryFile, nullptr, info,
                                        &info->pZSCueSheet[0]->pZSTracks[number - 1], 0,
                                        reinterpret_cast<LONG*>(callback), 0, user, stream.Receive());
  return result == S_OK ? Copy(stream.Get(), transfer, path) : Fail("opening a stream of the track", result);
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::fprintf(stderr, "usage: disc_host IMAGE [TRACK FILE]\n");
    return 2;
  }
  ComPtr<IZSImageFile> images;
  HRESULT result = Create(kProgIdImageFile, IID_IZSImageFile, &images);
  if (FAILED(result)) {
    return Fail("creating the image file service; is the library registered?", result);
  }
  const UniqueBstr path(SysAllocString(MultiByteToWideChar(argv[1]).c_str()));
  Disc disc(images.Get());
  result = images->GetImageFileInfo(path.get(), disc.Info());
  if (result != S_OK) {
    return Fail(("reading the image " + std::string(argv[1])).c_str(), result);
  }
  List(*disc.Info());
  return argc == 4 ? Save(disc.Info(), static_cast<UINT>(std::atoi(argv[2])), argv[3]) : EXIT_SUCCESS;
}
