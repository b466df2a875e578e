#include "tools/vektrace/program/version.h"

#include <fmt/format.h>

#include "libvekstream/TraceReader.h"
#include "libvekutil/version.h"

#ifdef VEKTRACE_HAVE_PCAP
#include <pcap/pcap.h>
#endif

namespace vek::program {

namespace {

const char* yesOrNo(bool yes) { return yes ? "yes" : "no"; }

std::string pcapText() {
#ifdef VEKTRACE_HAVE_PCAP
    return pcap_lib_version();
#else
    return "no";
#endif
}

}  // namespace

std::string versionText() {
    return fmt::format("vektrace {}\ngzip: {}\nzstd: {}\npcap: {}\n", VEKTRACE_VERSION_STRING,
                       yesOrNo(canReadGzip()), yesOrNo(canReadZstd()), pcapText());
}

}  // namespace vek::program
