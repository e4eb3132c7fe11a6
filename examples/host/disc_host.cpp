// Lists a disc image, and saves one of its tracks: a program that knows ImageFile by its headers and by the names of
// its classes. `zsimage register` makes them known to it.
//
//   disc_host IMAGE [TRACK FILE]

#include <cstdio>
#include <cstdlib>

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

/// A record that is freed on every way out.
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

/// Runs inside each Read of the stream.
LONG ShowProgress(UINT, ZSSTREAMPROGRESS* progress, ULONG, VARIANT) {
  if (progress->nMessage == ZSSTREAM_AFTERREAD && progress->qwTotal != 0) {
    std::printf("\r%3u %%", static_cast<unsigned>(100 * progress->qwDone / progress->qwTotal));
  } else if (progress->nMessage == ZSSTREAM_END) {
    std::printf("\n");
  }
  return 0;
}

int Save(zsimagefileinfo* info, UINT number, const UniqueBstr& file) {
  ComPtr<IZSCueSheet> sheets;
  HRESULT result = Create(kProgIdCueSheet, IID_IZSCueSheet, &sheets);
  if (FAILED(result)) {
    return Fail("no cue sheet service", result);
  }
  const ZSCUESHEET& sheet = *info->pZSCueSheet[0];
  if (number < 1 || number > sheet.nTracks) {
    return Fail("no such track in the first session", E_INVALIDARG);
  }
  ComPtr<IStream> stream;
  result = sheets->ExtractTrackToStream(info->bstrImageBinaryFile, nullptr, info, &sheet.pZSTracks[number - 1], 0,
                                        reinterpret_cast<LONG*>(&ShowProgress), 0, VARIANT{}, stream.Receive());
  if (result != S_OK) {
    return Fail("no stream", result);
  }
  result = sheets->ExtractStreamToFile(stream.Get(), file.get());
  return result == S_OK ? EXIT_SUCCESS : Fail("not saved", result);
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
    return Fail("no image file service; is the library registered?", result);
  }
  const UniqueBstr path(SysAllocString(MultiByteToWideChar(argv[1]).c_str()));
  Disc disc(images.Get());
  result = images->GetImageFileInfo(path.get(), disc.Info());
  if (result != S_OK) {
    return Fail(argv[1], result);
  }
  List(*disc.Info());
  const UniqueBstr file(argc == 4 ? SysAllocString(MultiByteToWideChar(argv[3]).c_str()) : nullptr);
  return argc == 4 ? Save(disc.Info(), static_cast<UINT>(std::atoi(argv[2])), file) : EXIT_SUCCESS;
}
