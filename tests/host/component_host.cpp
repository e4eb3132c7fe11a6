/// @file
/// A program that links the platform library alone, and knows the component by the registry. It takes its steps from
/// the command line and prints a line for each.

#include <dlfcn.h>

#include <atomic>
#include <barrier>
#include <cstdio>
#include <cstring>
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

void Print(const std::string& step, HRESULT result) {
  std::printf("%s 0x%08X\n", step.c_str(), static_cast<unsigned>(result));
}

/// Loads a library by its path and calls one of its entry points.
void Call(const char* path, const char* name) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  const auto entry = library == nullptr ? nullptr : reinterpret_cast<HRESULT (*)()>(dlsym(library, name));
  Print(name, entry == nullptr ? E_UNEXPECTED : entry());
  if (library != nullptr) {
    dlclose(library);
  }
}

template <class I> HRESULT Create(const OLECHAR* progId, REFIID iid, ComPtr<I>* object) {
  CLSID clsid{};
  const HRESULT result = CLSIDFromProgID(progId, &clsid);
  return FAILED(result) ? result : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid());
}

void CreateByName(const std::string& progId) {
  ComPtr<IUnknown> object;
  Print("create", Create(MultiByteToWideChar(progId).c_str(), IID_IUnknown, &object));
}

void CreateByClass(const std::string& text) {
  CLSID clsid{};
  ComPtr<IUnknown> object;
  GUIDFromString(text, &clsid);
  Print("class", CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IUnknown, object.ReceiveVoid()));
}

bool IsLoaded() {
  std::ifstream maps("/proc/self/maps");
  const std::string text{std::istreambuf_iterator<char>(maps), {}};
  return text.find("/libImageFile.so") != std::string::npos;
}

void FreeLibraries() {
  CoFreeUnusedLibraries();
  std::printf("free %s\n", IsLoaded() ? "loaded" : "gone");
}

/// Reads an image and gives its tracks file pieces; the library goes while the record stands, and comes back to free
/// it.
void Read(const std::string& path) {
  const UniqueBstr name(SysAllocString(MultiByteToWideChar(path).c_str()));
  zsimagefileinfo info{};
  ComPtr<IZSImageFile> images;
  ComPtr<IZSCueSheet> sheets;
  HRESULT result = Create(kProgIdImageFile, IID_IZSImageFile, &images);
  result = FAILED(result) ? result : Create(kProgIdCueSheet, IID_IZSCueSheet, &sheets);
  result = FAILED(result) ? result : images->GetImageFileInfo(name.get(), &info);
  result = FAILED(result) ? result : sheets->PrepareTracks(name.get(), info.pZSCueSheet[0]);
  Print("read", result);
  if (FAILED(result)) {
    return;
  }
  FreeLibraries();
  images.Reset();
  sheets.Reset();
  FreeLibraries();
  Print("again", Create(kProgIdImageFile, IID_IZSImageFile, &images));
  Print("emptied", images ? images->FreeImageFileInfo(&info) : E_UNEXPECTED);
}

/// Many threads make, ask and release objects while the main thread frees libraries over and over.
void RunThreads() {
  constexpr int kThreads = 4;
  constexpr int kRounds = 100;
  std::barrier line(kThreads + 1);
  std::atomic<int> made{0};
  std::vector<HRESULT> results(kThreads, S_OK);
  std::vector<std::thread> threads;
  for (HRESULT& result : results) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        line.arrive_and_wait();
        ComPtr<IZSImageFile> images;
        const HRESULT created = Create(kProgIdImageFile, IID_IZSImageFile, &images);
        ComPtr<IUnknown> identity;
        const HRESULT asked = images ? images->QueryInterface(IID_IUnknown, identity.ReceiveVoid()) : E_UNEXPECTED;
        result = FAILED(result) ? result : FAILED(created) ? created : asked;
        ++made;
        line.arrive_and_wait(); // No object is released while libraries are freed.
      }
    });
  }
  for (int round = 0; round < kRounds; ++round) {
    line.arrive_and_wait();
    while (made < kThreads * (round + 1)) {
      CoFreeUnusedLibraries();
    }
    line.arrive_and_wait();
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const HRESULT result : results) {
    Print("thread", result);
  }
}

} // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string step = argv[i];
    if (step == "call") {
      Call(argv[i + 1], argv[i + 2]);
      i += 2;
    } else if (step == "create") {
      CreateByName(argv[++i]);
    } else if (step == "class") {
      CreateByClass(argv[++i]);
    } else if (step == "read") {
      Read(argv[++i]);
    } else if (step == "free") {
      FreeLibraries();
    } else if (step == "threads") {
      RunThreads();
    }
  }
  return 0;
}
