// BlindWrite descriptions, which are read and then refused. The input is the file.
#include "readers/bwt_records.h"
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  run.Files().Add("DISC.BWT", input);
  run.Files().Add("DISC.B5T", input);
  fuzz::Require(fuzz::CheckImage(&run, "DISC.BWT") == ZSE_BADIMAGE, "a BlindWrite description is refused");
  fuzz::Require(fuzz::CheckImage(&run, "DISC.B5T") == ZSE_BADIMAGE, "a BlindWrite 5 description is refused");
  UHYPER end = ~UHYPER{0};
  const bool found = FindBwtRecordsEnd(ByteView(input.data(), input.size()), &end);
  fuzz::Require(found != (end == ~UHYPER{0}), "the end is returned exactly when it is found");
}
