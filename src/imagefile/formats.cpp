#include "imagefile/formats.h"

#include <algorithm>

#include "platform/text.h"
#include "readers/readers.h"
#include "toc/toc_reader.h"

namespace {

struct Format {
  std::string_view extension;
  ImageReader read;
};

constexpr Format kFormats[] = {
    {".ISO", ReadIsoImage}, {".CUE", ReadCueImage}, {".NRG", ReadNrgImage}, {".CCD", ReadCcdImage},
    {".MDS", ReadMdsImage}, {".BWT", ReadBwtImage}, {".B5T", ReadB5tImage}, {".ZSI", OpenTOCImage},
};

} // namespace

ImageReader ReaderForExtension(std::string_view extension) {
  const auto* found = std::ranges::find(kFormats, platform::Upper(extension), &Format::extension);
  return found == std::end(kFormats) ? nullptr : found->read;
}
