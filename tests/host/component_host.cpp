/// @file
/// A program that links the platform library alone, and knows the component by the registry. It takes its steps from
/// the command line and prints a line for each.

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

/// Loads a library by its path and calls one of its entry points.
void Call(const char* path, const char* name) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  Print(name, reinterpret_cast<HRESULT (*)()>(dlsym(library, name))());
  dlclose(library);
}

/// Makes an object of a class, given by its name or its identifier.
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

/// Reads an image and gives its tracks file pieces; the library goes while the record stands, and comes back to free
/// it.
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

/// Many threads make and release objects while the main thread frees libraries over and over.
void RunThreads() {
  constexpr int kThreads = 4;
  constexpr int kRounds = 100;
  std::barrier line(kThreads + 1);
  std::atomic<int> made{0};
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        line.arrive_and_wait();
        ComPtr<IZSImageFile> images;
        const HRESULT result = Create("ZSImageFile.ZSImageFile", IID_IZSImageFile, &images);
        if (FAILED(result)) {
          Print("thread", result);
        }
        ++made;
        line.arrive_and_wait(); // No object is released while libraries are freed.
      }
    });
  }
  for (int round = 1; round <= kRounds; ++round) {
    line.arrive_and_wait();
    while (made < kThreads * round) {
      CoFreeUnusedLibraries();
    }
    line.arrive_and_wait();
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
