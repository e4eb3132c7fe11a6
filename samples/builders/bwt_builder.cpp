#include "builders/bwt_builder.h"

#include "builders/byte_writer.h"

namespace {

/// Fields that begin with their length, each with its distance to the next item.
void AddFields(std::initializer_list<unsigned> distances, unsigned length, ByteWriter* file) {
  for (const unsigned distance : distances) {
    file->Byte(length).Zeros(length + distance - 1);
  }
}

} // namespace

std::vector<BYTE> BwtFile(int records, unsigned fieldLength) {
  ByteWriter file;
  file.Text("BLINDWRITE TOC FILE", 31).Byte(fieldLength).Zeros(3 + fieldLength);
  AddFields({4, 8, 4, 10}, fieldLength, &file);
  for (int i = 1; i <= records; ++i) {
    file.Zeros(23).Byte(i == records ? 0xA2 : 0x01).Zeros(39);
    AddFields({4, 4, 4, 4, 4, 8, 28, 4}, fieldLength, &file);
  }
  return file.Get();
}
