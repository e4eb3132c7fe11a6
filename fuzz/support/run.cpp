#include "support/run.h"

#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "foundation/module.h"
#include "foundation/strings.h"
#include "platform/class_objects.h"
#include "platform/message_box.h"
#include "platform/task_memory.h"
#include "support/checks.h"
#include "support/counting_environment.h"

/// Options of AddressSanitizer, for speed: short stacks of allocations, and a small quarantine of released blocks.
extern "C" const char* __asan_default_options() { return "malloc_context_size=6:quarantine_size_mb=16"; }

namespace fuzz {
namespace {

constexpr std::size_t kHeapBase = std::size_t{64} << 20;

std::atomic<std::size_t> g_heap{0};
std::atomic<std::size_t> g_heapPeak{0};

void OnAllocation(const volatile void* /*block*/, std::size_t size) {
  const std::size_t heap = g_heap += size;
  if (heap > g_heapPeak) {
    g_heapPeak = heap;
  }
}

void OnRelease(const volatile void* block) {
  const std::size_t size = block == nullptr ? 0 : __sanitizer_get_allocated_size(const_cast<const void*>(block));
  g_heap -= std::min<std::size_t>(size, g_heap);
}

class SilentMessages final : public MessageHandler {
public:
  void Show(std::string_view /*text*/, std::string_view /*caption*/, UINT /*type*/) noexcept override {}
};

/// Replaces the environment of the process on the first call.
MemoryFiles& ReplaceEnvironment() {
  static MemoryFiles files;
  static SilentMessages messages;
  static const bool replaced = [] {
    ::setenv("IMAGEFILE_REGISTRY", "/disc/none.reg", 1); // The user's registry is not used.
    ProcessEnvironment().allocator = &TestAllocator();
    ProcessEnvironment().files = &files;
    SetMessageHandler(&messages);
    __sanitizer_install_malloc_and_free_hooks(OnAllocation, OnRelease);
    return true;
  }();
  static_cast<void>(replaced);
  return files;
}

template <class I> ComPtr<I> Create(const OLECHAR* progId, REFIID iid) {
  CLSID clsid{};
  ComPtr<I> object;
  CLSIDFromProgID(progId, &clsid);
  CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid());
  Require(static_cast<bool>(object), "objects can be created");
  return object;
}

} // namespace

Run::Run(std::size_t inputSize)
    : m_files(ReplaceEnvironment()), m_inputSize(inputSize), m_blocks(TestAllocator().Live()),
      m_objects(Module().LockCount()) {
  m_files.Clear();
  g_heap = 0;
  g_heapPeak = 0;
  m_images = Create<IZSImageFile>(kProgIdImageFile, IID_IZSImageFile);
  m_sheets = Create<IZSCueSheet>(kProgIdCueSheet, IID_IZSCueSheet);
}

Run::~Run() {
  m_images.Reset();
  m_sheets.Reset();
  Require(g_heapPeak <= kHeapBase + 2 * m_inputSize, "memory stays below 64 MiB plus twice the input");
  m_files.Clear();
  Require(TestAllocator().Live() == m_blocks, "no task memory is left");
  Require(Module().LockCount() == m_objects, "no object is left");
}

HRESULT Record::Read(std::string_view name) {
  m_run->Images().FreeImageFileInfo(&m_info);
  const HRESULT result = m_run->Images().GetImageFileInfo(Wide(PathOf(name)).get(), &m_info);
  RequireRecord(m_info, result);
  return result;
}

Sheet::Sheet(Run* run, UINT tracks) : m_run(run) {
  m_run->Sheets().AllocCueSheet(&m_sheet);
  m_sheet->pZSTracks = AllocateCleared<ZSTRACK>(tracks);
  m_sheet->nTracks = tracks;
}

Sheet::~Sheet() {
  if (m_sheet != nullptr) {
    m_run->Sheets().FreeZSCueSheet(m_sheet, VARIANT_TRUE);
  }
}

UniqueBstr Wide(std::string_view narrow) { return UniqueBstr(NewBstr(narrow)); }

std::string PathOf(std::string_view name) { return std::string(kFolder) += name; }

std::optional<std::string> EncodePacks(Run* run, ZSCUESHEET* sheet, bool asSubChannel) {
  BYTE* data = nullptr;
  LONG length = 0;
  const HRESULT result = run->Sheets().EncodeCDText(sheet, asSubChannel ? VARIANT_TRUE : VARIANT_FALSE, &data, &length);
  const TaskMemory<BYTE> owned(data);
  Require(result == (sheet->ZSCDTEXT.CDTextPresent == 0 ? S_FALSE : S_OK), "text is encoded if it is present");
  if (result != S_OK) {
    return std::nullopt;
  }
  return std::string(data, data + length);
}

std::shared_ptr<MemoryFile> SectorFile() {
  static const std::shared_ptr<MemoryFile> file = [] {
    constexpr std::size_t kOffsets[] = {16 * 2048, 16 * 2336 + 8, 16 * 2352 + 24, 16 * 2448 + 24};
    auto made = std::make_shared<MemoryFile>();
    for (const std::size_t offset : kOffsets) {
      made->bytes.resize(offset);
      made->bytes += std::string("\x01"
                                 "CD001\x01\0CD-RTOS CD-BRIDGE",
                                 25);
    }
    made->size = UHYPER{2352} * 2048 * 147;
    return made;
  }();
  return file;
}

} // namespace fuzz
