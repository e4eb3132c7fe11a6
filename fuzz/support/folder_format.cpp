#include "support/folder_format.h"

#include <algorithm>
#include <iterator>

#include "foundation/byte_view.h"

namespace fuzz {
namespace {

constexpr std::size_t kHeadSize = 11;
constexpr std::size_t kOffsetLimit = 64 * 1024;

void AppendNumber(ULONG number, int bytes, std::string* input) {
  for (int i = 0; i < bytes; ++i) {
    input->push_back(static_cast<char>(number >> (8 * i)));
  }
}

/// Returns whether a file holds sectors. A file of sectors is never read whole, so its size needs no memory.
bool HoldsSectors(std::string_view name) noexcept {
  return name.ends_with(".BIN") || name.ends_with(".IMG") || name.ends_with(".MDF") || name.ends_with(".ISO") ||
         name.ends_with(".bin");
}

} // namespace

std::vector<FolderFile> ParseFolder(std::string_view input) {
  std::vector<FolderFile> files;
  while (input.size() > kHeadSize) {
    BlockView head;
    ByteView(input).Block(0, kHeadSize, &head);
    const ULONG size = head.Little32(1);
    const ULONG offset = head.Little32(5);
    const USHORT count = head.Little16(9);
    FolderFile file;
    file.name = kNames[head.Byte(0) % std::size(kNames)];
    file.bytes.resize(HoldsSectors(file.name) ? offset % kOffsetLimit : 0);
    file.bytes += input.substr(kHeadSize, count);
    file.size = HoldsSectors(file.name) ? size : 0;
    input.remove_prefix(std::min<std::size_t>(input.size(), kHeadSize + count));
    files.push_back(std::move(file));
  }
  return files;
}

void AppendFile(std::string_view name, std::string_view bytes, ULONG size, ULONG offset, std::string* input) {
  const auto found = std::find(std::begin(kNames), std::end(kNames), name);
  input->push_back(static_cast<char>(found - std::begin(kNames)));
  AppendNumber(size, 4, input);
  AppendNumber(offset, 4, input);
  AppendNumber(static_cast<ULONG>(bytes.size() - offset), 2, input);
  *input += bytes.substr(offset);
}

} // namespace fuzz
