#include <bit>

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/server/registration.h"
#include "tools/tool_run.h"

namespace {

/// Returns what the contract states of a constant, a field or a virtual operation: its number, its offset or its slot.
/// The ABI stores the offset of a field in the member pointer, and the offset of a slot plus one.
template <class T> std::size_t NumberOf(T item) {
  if constexpr (std::is_member_function_pointer_v<T>) {
    std::size_t offset = 0;
    std::memcpy(&offset, &item, sizeof(offset));
    return (offset - 1) / sizeof(void*);
  } else if constexpr (std::is_member_object_pointer_v<T>) {
    return std::bit_cast<std::size_t>(item);
  } else {
    return static_cast<std::uint32_t>(item);
  }
}

template <class... Items>
void CheckRow(const char* what, std::size_t first, std::size_t distance, const Items&... items) {
  std::size_t expected = first;
  for (const std::size_t number : {NumberOf(items)...}) {
    EXPECT_EQ(expected, number) << what;
    expected += distance;
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
#define ADDRESS sizeof(void*)
#define OFFSETS(owner, wide, narrow, distance, ...)                                                                    \
  {                                                                                                                    \
    using I = owner;                                                                                                   \
    CheckRow(#owner ": " #__VA_ARGS__, WIDTH(wide, narrow), distance, __VA_ARGS__);                                    \
  }
#define SLOTS(owner, first, ...) OFFSETS(owner, first, first, 1, __VA_ARGS__)
#define IDENTIFIER(name, text) EXPECT_EQ(text, StringFromGUID(name)) << #name;
#define SIZE(record, wide, narrow) Check(#record, WIDTH(wide, narrow), sizeof(record));
#define OFFSET(record, name, wide, narrow) Check(#record "." #name, WIDTH(wide, narrow), offsetof(record, name));
#define VALUE(name, number) VALUES(number, name)
#define VALUES(first, ...) CheckRow(#__VA_ARGS__, first, 1, __VA_ARGS__);
#define EXPORTS(library, names) EXPECT_EQ(#names, library);
#include "imagefile/contract.inc"
}

} // namespace
