// Nero images. The input is the file.
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  run.Files().Add("DISC.NRG", input);
  fuzz::CheckImage(&run, "DISC.NRG");
}
