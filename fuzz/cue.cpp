// CUE sheets. The input is the sheet up to the first zero byte, then parts of its data file: 4 bytes with the size, the
// first 24 bytes, and the bytes from the user data of sector 16 on.
#include <algorithm>

#include "foundation/byte_view.h"
#include "support/harness.h"

FUZZ(input) {
  constexpr std::size_t kSectorSixteen = 16 * 2352 + 24;
  fuzz::Run run(input.size());
  const std::string_view sheet = input.substr(0, input.find('\0'));
  const std::string_view rest = input.substr(std::min(sheet.size() + 1, input.size()));
  BlockView head;
  ByteView(rest).Block(0, 4, &head);
  std::string data(rest.substr(std::min<std::size_t>(4, rest.size()), 24));
  if (rest.size() > 28) {
    data.resize(kSectorSixteen);
    data += rest.substr(28);
  }
  run.Files().Add("DISC.CUE", sheet);
  run.Files().Add("DISC.BIN", data, head.Little32(0));
  fuzz::CheckImage(&run, "DISC.CUE");
}
