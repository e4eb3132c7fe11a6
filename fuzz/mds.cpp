// Media Descriptor descriptions. The input is the description.
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  run.Files().Add("DISC.MDS", input);
  run.Files().Add("DISC.MDF", fuzz::SectorFile());
  fuzz::CheckImage(&run, "DISC.MDS");
}
