#include "tools/vektrace/pcap/PcapWriter.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <stdexcept>

#include "tools/vektrace/program/timeUnits.h"

namespace vek::program {

namespace {

/// Above the longest record, and what readers take for the usual limit.
constexpr int SNAPLEN = 262144;
constexpr size_t WRITE_BUFFER = 0x10000;

}  // namespace

PcapWriter::PcapWriter(Output& _output)
    : output(_output), handle(pcap_open_dead(RECORD_LINK_TYPE, SNAPLEN)) {
    if (!handle) {
        throw std::bad_alloc();
    }
    std::FILE* const file = fopencookie(this, "w", {nullptr, &PcapWriter::take, nullptr, nullptr});
    if (file == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(std::setvbuf(file, nullptr, _IOFBF, WRITE_BUFFER));
    dumper.reset(pcap_dump_fopen(handle.get(), file));
    if (!dumper) {
        // libpcap has closed the file then: what failed was to write to it.
        check();
        throw std::runtime_error(pcap_geterr(handle.get()));
    }
}

PcapWriter::~PcapWriter() = default;

bool PcapWriter::canHold(timeStamp_t time) {
    return time / MICROSECONDS_PER_SECOND <= std::numeric_limits<uint32_t>::max();
}

void PcapWriter::write(timeStamp_t time, const uint8_t* data, size_t length) {
    pcap_pkthdr header = {};
    // libpcap writes the low 32 bits, also where the type here is signed and has no more than
    // these.
    header.ts.tv_sec = static_cast<decltype(header.ts.tv_sec)>(time / MICROSECONDS_PER_SECOND);
    header.ts.tv_usec = static_cast<decltype(header.ts.tv_usec)>(time % MICROSECONDS_PER_SECOND);
    header.caplen = static_cast<bpf_u_int32>(length);
    header.len = header.caplen;
    pcap_dump(reinterpret_cast<u_char*>(dumper.get()), &header, data);
    check();
}

void PcapWriter::flush() {
    static_cast<void>(pcap_dump_flush(dumper.get()));
    check();
}

/// No exception may pass through libpcap: it is kept until that has returned.
ssize_t PcapWriter::take(void* writer, const char* bytes, size_t length) {
    PcapWriter& self = *static_cast<PcapWriter*>(writer);
    if (self.failure) {
        return 0;
    }
    try {
        self.output.write(reinterpret_cast<const uint8_t*>(bytes), length);
        return static_cast<ssize_t>(length);
    } catch (...) {
        self.failure = std::current_exception();
        return 0;
    }
}

void PcapWriter::check() {
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace vek::program
