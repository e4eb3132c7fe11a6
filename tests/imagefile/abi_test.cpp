#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/server/registration.h"
#include "tools/tool_run.h"

namespace {

/// Place of a virtual operation in its table: the ABI keeps one more than its offset in the pointer.
template <class Operation> std::size_t SlotOf(Operation operation) {
  std::size_t place = 0;
  std::memcpy(&place, &operation, sizeof(place));
  return (place - 1) / sizeof(void*);
}

void Same(const char* what, std::size_t expected, std::size_t found) { EXPECT_EQ(expected, found) << what; }

/// Names that a library exports, each on a line.
std::string ExportsOf(const std::string& library, const std::string& kept) {
  return RunShell("nm -D --defined-only --format=posix '" + library + "' | grep '" + kept +
                  "' | cut -d ' ' -f 1 | sort")
      .out;
}

TEST(Abi, IsTheContractThatHostsAreBuiltOn) {
  std::map<std::string, std::string> exports;
#define WIDTH(wide, narrow) (sizeof(void*) == 8 ? (wide) : (narrow))
#define SLOT(owner, name, place) Same(#owner "::" #name, place, SlotOf(&owner::name));
#define IDENTIFIER(name, text) EXPECT_EQ(text, StringFromGUID(name)) << #name;
#define SIZE(record, wide, narrow) Same(#record, WIDTH(wide, narrow), sizeof(record));
#define PLACE(record, name, wide, narrow) Same(#record "." #name, WIDTH(wide, narrow), offsetof(record, name));
#define VALUE(name, number) Same(#name, number, static_cast<std::uint32_t>(name));
#define EXPORT(library, name) exports[#library] += #name "\n";
#include "imagefile/contract.inc"
  EXPECT_EQ(exports["ImageFile"], ExportsOf(COMPONENT_LIBRARY, ""));                   // Those four and nothing else.
  EXPECT_EQ(exports["ImageFilePlatform"], ExportsOf(PLATFORM_LIBRARY, "^[A-Z].* T ")); // With C linkage.
}

} // namespace
