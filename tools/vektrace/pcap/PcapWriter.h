/// @file
/// Writes a capture file whose packets are whole records.
///
/// libpcap writes to a FILE only. That is one whose bytes go to the program's Output, so that a
/// capture is like any other output: there as a whole or not at all, never over an input, and
/// written to pipes too.
#pragma once

#include <pcap/pcap.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>

#include "tools/vektrace/program/output.h"

namespace vek::program {

/// The link type of captures of records: one that is nobody's, LINKTYPE_USER0 = 147.
inline constexpr int RECORD_LINK_TYPE = DLT_USER0;

class PcapWriter {
public:
    /// `output` outlives the writer. Throws what it throws.
    explicit PcapWriter(Output& output);
    ~PcapWriter();
    PcapWriter(const PcapWriter&) = delete;
    PcapWriter& operator=(const PcapWriter&) = delete;

    /// Whether a packet can have this time: it has 32 bits for the seconds since 1970.
    static bool canHold(timeStamp_t time);

    /// Writes a packet. Throws what the output throws.
    void write(timeStamp_t time, const uint8_t* data, size_t length);
    /// Hands everything to the output. Throws what it throws.
    void flush();

private:
    static ssize_t take(void* writer, const char* bytes, size_t length);
    void check();

    struct HandleCloser {
        void operator()(pcap_t* open) const { pcap_close(open); }
    };
    struct DumperCloser {
        void operator()(pcap_dumper_t* open) const { pcap_dump_close(open); }
    };

    Output& output;
    std::exception_ptr failure;  ///< what the output threw, while libpcap was at work
    std::unique_ptr<pcap_t, HandleCloser> handle;
    std::unique_ptr<pcap_dumper_t, DumperCloser> dumper;
};

}  // namespace vek::program
