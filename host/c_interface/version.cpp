#include "host/c_interface/mien_host.h"

uint32_t mien_host_version(void) { return MIEN_HOST_VERSION; }
const char* mien_version(void) { return MIEN_VERSION; }
