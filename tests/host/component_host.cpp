/// @file
/// A host that links the platform library alone and finds the component in the registry. Its arguments are steps, and
/// it prints a line for each:
///
///     call LIBRARY FUNCTION   loads a library and calls an entry point without arguments
///     create CLASS            creates an object of a class, by its name or identifier
///     read IMAGE              frees a record after the library that filled it was unloaded
///     free                    frees unused libraries and says whether the component is still loaded
///     threads                 creates objects in many threads while libraries are freed

#include <dlfcn.h>

#include <atomic>
#include <barrier>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"
#include "platform/text.h"

namespace {

void Print(const char* step, HRESULT result) { std::printf("%s 0x%08X\n", step, static_cast<unsigned>(result)); }

void Call(const char* path, const char* name) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  Print(name, reinterpret_cast<HRESULT (*)()>(dlsym(library, name))());
  dlclose(library);
}

template <class I> HRESULT Create(const std::string& name, REFIID iid, ComPtr<I>* object) {
  CLSID clsid{};
  const bool isIdentifier = GUIDFromString(name, &clsid);
  const HRESULT result = isIdentifier ? S_OK : CLSIDFromProgID(MultiByteToWideChar(name).c_str(), &clsid);
  return FAILED(result) ? result : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid());
}

void FreeLibraries() {
  CoFreeUnusedLibraries();
  std::ifstream maps("/proc/self/maps");
  const std::string text{std::istreambuf_iterator<char>(maps), {}};
  std::printf("free %s\n", text.find("/libImageFile.so") == std::string::npos ? "gone" : "loaded");
}

void Read(const std::string& path) {
  const UniqueBstr name(SysAllocString(MultiByteToWideChar(path).c_str()));
  zsimagefileinfo info{};
  ComPtr<IZSImageFile> images;
  ComPtr<IZSCueSheet> sheets;
  Create("ZSImageFile.ZSImageFile", IID_IZSImageFile, &images);
  Create("ZSImageFile.ZSCueSheet", IID_IZSCueSheet, &sheets);
  Print("read", images->GetImageFileInfo(name.get(), &info));
  Print("prepare", sheets->PrepareTracks(name.get(), info.pZSCueSheet[0]));
  FreeLibraries();
  images.Reset();
  sheets.Reset();
  FreeLibraries();
  Print("again", Create("ZSImageFile.ZSImageFile", IID_IZSImageFile, &images));
  Print("empty", images->FreeImageFileInfo(&info));
}

void RunThreads() {
  constexpr int kThreads = 4;
  constexpr int kRounds = 100;
  std::barrier gate(kThreads + 1);
  std::atomic<int> created{0};
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        gate.arrive_and_wait();
        ComPtr<IZSImageFile> images;
        const HRESULT result = Create("ZSImageFile.ZSImageFile", IID_IZSImageFile, &images);
        if (FAILED(result)) {
          Print("thread", result);
        }
        ++created;
        gate.arrive_and_wait(); // The last release of an object must not run while libraries are freed.
      }
    });
  }
  for (int round = 1; round <= kRounds; ++round) {
    gate.arrive_and_wait();
    while (created < kThreads * round) {
      CoFreeUnusedLibraries();
    }
    gate.arrive_and_wait();
  }
  threads.clear();
  std::puts("threads done");
}

} // namespace

int main(int /*argc*/, char** argv) {
  while (*++argv != nullptr) {
    const std::string step = *argv;
    if (step == "call") {
      Call(argv[1], argv[2]);
      argv += 2;
    } else if (step == "create") {
      ComPtr<IUnknown> object;
      Print("create", Create(*++argv, IID_IUnknown, &object));
    } else if (step == "read") {
      Read(*++argv);
    } else if (step == "free") {
      FreeLibraries();
    } else if (step == "threads") {
      RunThreads();
    }
  }
  return 0;
}
