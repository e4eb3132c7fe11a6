#include "commands.h"

int RunMap(const MapOptions& /*options*/) { return 1; }
