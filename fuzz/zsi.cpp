// Native TOC files. The input is the file.
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  run.Files().Add("DISC.ZSI", input);
  run.Files().Add("DISC.BIN", fuzz::SectorFile());
  fuzz::CheckImage(&run, "DISC.ZSI");
}
