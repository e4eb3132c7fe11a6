// BlindWrite descriptions, which are walked and then refused: the input is the file.
#include "readers/bwt_records.h"
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  run.Files().Add("DISC.BWT", input);
  run.Files().Add("DISC.B5T", input);
  fuzz::Require(fuzz::CheckImage(&run, "DISC.BWT") == ZSE_BADIMAGE, "no image comes of a BlindWrite description");
  fuzz::Require(fuzz::CheckImage(&run, "DISC.B5T") == ZSE_BADIMAGE, "no image comes of a BlindWrite 5 description");
  UHYPER end = ~UHYPER{0};
  const bool found = FindBwtRecordsEnd(ByteView(input.data(), input.size()), &end);
  fuzz::Require(found != (end == ~UHYPER{0}), "the end is told when it is found");
}
