#include <gtest/gtest.h>

#include <cstring>

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/server/registration.h"
#include "tools/tool_run.h"

namespace {

/// Returns the slot of a virtual operation. The ABI stores its offset in the table, plus one, in the member pointer.
template <class Operation> std::size_t SlotOf(Operation operation) {
  std::size_t offset = 0;
  std::memcpy(&offset, &operation, sizeof(offset));
  return (offset - 1) / sizeof(void*);
}

template <class... Operations> void CheckSlots(const char* interface, std::size_t first, Operations... operations) {
  std::size_t expected = first;
  for (const std::size_t slot : {SlotOf(operations)...}) {
    EXPECT_EQ(expected++, slot) << interface;
  }
}

void Check(const char* what, std::size_t expected, std::size_t found) { EXPECT_EQ(expected, found) << what; }

/// Lists the exported names that match a pattern, in alphabetical order.
std::string ExportsOf(const std::string& library, const std::string& pattern) {
  return RunShell("nm -D --defined-only --format=posix '" + library + "' | grep '" + pattern +
                  "' | cut -d ' ' -f 1 | sort | xargs echo -n")
      .out;
}

TEST(Abi, MatchesTheContract) {
  const std::string ImageFile = ExportsOf(COMPONENT_LIBRARY, "");                   // All that the library exports.
  const std::string ImageFilePlatform = ExportsOf(PLATFORM_LIBRARY, "^[A-Z].* T "); // Functions with C linkage.
#define WIDTH(wide, narrow) (sizeof(void*) == 8 ? (wide) : (narrow))
#define SLOTS(owner, first, ...)                                                                                       \
  {                                                                                                                    \
    using I = owner;                                                                                                   \
    CheckSlots(#owner, first, __VA_ARGS__);                                                                            \
  }
#define IDENTIFIER(name, text) EXPECT_EQ(text, StringFromGUID(name)) << #name;
#define SIZE(record, wide, narrow) Check(#record, WIDTH(wide, narrow), sizeof(record));
#define OFFSET(record, name, wide, narrow) Check(#record "." #name, WIDTH(wide, narrow), offsetof(record, name));
#define VALUE(name, number) Check(#name, number, static_cast<std::uint32_t>(name));
#define EXPORTS(library, names) EXPECT_EQ(#names, library);
#include "imagefile/contract.inc"
}

} // namespace
