#include "libvekstream/TraceException.h"

// Out of line, so that the library holds the only type information of the class.
TraceException::~TraceException() = default;
