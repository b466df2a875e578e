#include "libvekutil/version.h"

const char* vektraceVersion() noexcept { return VEKTRACE_VERSION_STRING; }

int vektraceVersionNumber() noexcept { return VEKTRACE_VERSION_NUMBER; }
