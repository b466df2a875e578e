#include "tools/vektrace/pcap/conversion.h"

#include <stdexcept>

namespace vek::program {

namespace {

[[noreturn]] void refuse() {
    throw std::runtime_error("this build cannot handle captures: it was made without libpcap");
}

}  // namespace

void exportCapture(const InputOptions&, const OutputOptions&, Session&) { refuse(); }
void importCapture(const InputOptions&, const OutputOptions&, Session&) { refuse(); }

}  // namespace vek::program
