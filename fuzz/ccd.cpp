// CloneCD descriptions. The input is the description.
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  run.Files().Add("DISC.CCD", input);
  run.Files().Add("DISC.IMG", fuzz::SectorFile());
  fuzz::CheckImage(&run, "DISC.CCD");
}
