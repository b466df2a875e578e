/// @file
/// Makes a trace of an Ethernet capture: one record for every packet, between the records with
/// which a logger begins and ends.
///
///     pcap_to_trace CAPTURE.pcap TRACE.vkt
///
/// The trace also holds one record that no reader can decode, so that what becomes of such a
/// record can be seen. Of a frame that is longer than a record can hold, the beginning is kept
/// beside its original length, and a line on the standard error stream says so.

#include <pcap/pcap.h>

#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "examples/ethernet/EthernetMessage.h"
#include "examples/trace_file.h"
#include "libvektrace/SimpleMessage.h"

namespace {

/// The port of the logger that is said to have received the packets.
constexpr uint8_t CHANNEL = 1;

/// The packets of a capture file, one after the other.
class Capture {
public:
    explicit Capture(std::string _path);

    /// False behind the last packet. Throws for one that cannot be read.
    bool next();

    size_t getCount() const { return count; }  ///< the number of packets so far
    timeStamp_t getTimeStamp() const;          ///< of the packet that next stepped to
    EthernetMessage getMessage() const;        ///< that packet; says so when it has to be cut
    /// `reason` behind the names of the file and of that packet, if any.
    std::runtime_error failure(const std::string& reason) const;

private:
    size_t getFrameLength() const;

    struct Closer {
        void operator()(pcap_t* open) const { pcap_close(open); }
    };

    const std::string path;
    std::unique_ptr<pcap_t, Closer> handle;
    const pcap_pkthdr* header = nullptr;
    const uint8_t* bytes = nullptr;
    size_t count = 0;
};

/// The library's text names the file only where the file cannot be opened.
std::runtime_error openingFailure(const std::string& path, const std::string& reason) {
    const bool named = reason.rfind(path + ':', 0) == 0;
    return std::runtime_error(named ? reason : path + ": " + reason);
}

Capture::Capture(std::string _path) : path(std::move(_path)) {
    char reason[PCAP_ERRBUF_SIZE] = "";
    handle.reset(
        pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_MICRO, reason));
    if (!handle) {
        throw openingFailure(path, reason);
    }
    const int linkType = pcap_datalink(handle.get());
    if (linkType != DLT_EN10MB) {
        throw failure(std::string("link type ") +
                      pcap_datalink_val_to_description_or_dlt(linkType) + " is not Ethernet");
    }
}

bool Capture::next() {
    pcap_pkthdr* nextHeader = nullptr;
    const int result = pcap_next_ex(handle.get(), &nextHeader, &bytes);
    if (result == PCAP_ERROR_BREAK) {
        return false;
    }
    ++count;
    if (result != 1) {
        throw failure(pcap_geterr(handle.get()));
    }
    header = nextHeader;
    return true;
}

timeStamp_t Capture::getTimeStamp() const {
    constexpr int64_t MICROSECONDS = 1'000'000;
    int64_t seconds = header->ts.tv_sec;
    const int64_t microseconds = header->ts.tv_usec;
    if (seconds < 0) {
        // The 32 bits of the file have no sign, but libpcap reads them as if they had.
        seconds += int64_t{1} << 32;
    }
    if (seconds < 0 || microseconds < 0 || microseconds >= MICROSECONDS) {
        throw failure("no valid time");
    }
    return static_cast<timeStamp_t>(seconds * MICROSECONDS + microseconds);
}

size_t Capture::getFrameLength() const {
    if (header->caplen <= EthernetMessage::MAX_FRAME_LENGTH) {
        return header->caplen;
    }
    std::cerr << failure("a frame of " + std::to_string(header->caplen) + " bytes is cut to " +
                         std::to_string(EthernetMessage::MAX_FRAME_LENGTH) +
                         ", the most that a record holds")
                     .what()
              << '\n';
    return EthernetMessage::MAX_FRAME_LENGTH;
}

EthernetMessage Capture::getMessage() const {
    try {
        return {getTimeStamp(), CHANNEL, MessageBase::PORT_DIR_IN, header->len,
                byteVec_t(bytes, bytes + getFrameLength())};
    } catch (const std::invalid_argument& e) {
        throw failure(e.what());
    }
}

std::runtime_error Capture::failure(const std::string& reason) const {
    const std::string packet = count == 0 ? "" : "packet " + std::to_string(count) + ": ";
    return std::runtime_error(path + ": " + packet + reason);
}

/// Appends an Ethernet record whose direction is none, on purpose: nothing can decode it.
void appendUndecodable(byteVec_t& trace, timeStamp_t timeStamp) {
    constexpr uint8_t NO_DIRECTION = 0x7F;
    const size_t begin = trace.size() + sizeof MessageBase::SYNC_MARKER;
    appendRecord(trace, EthernetMessage(timeStamp, CHANNEL, MessageBase::PORT_DIR_IN, 0, {}));
    trace[begin + EthernetMessage::MO_DIRECTION] = NO_DIRECTION;
}

byteVec_t makeTrace(Capture& capture) {
    if (!capture.next()) {
        throw capture.failure("holds no packets, so the logger's own records have no time");
    }
    byteVec_t trace;
    timeStamp_t timeStamp = capture.getTimeStamp();
    appendRecord(trace, SimpleMessage<MSGID_STARTUP>(timeStamp));
    appendRecord(trace, SimpleMessage<MSGID_DATALOGGINGSTARTED>(timeStamp));
    do {
        const EthernetMessage message = capture.getMessage();
        timeStamp = message.getTimeStamp();
        appendRecord(trace, message);
    } while (capture.next());
    appendUndecodable(trace, timeStamp);
    appendRecord(trace, SimpleMessage<MSGID_DATALOGGINGSTOPPED>(timeStamp));
    return trace;
}

void convert(const std::string& capturePath, const std::string& tracePath) {
    Capture capture(capturePath);
    writeTraceFile(tracePath, makeTrace(capture));
    std::cout << tracePath << ": " << capture.getCount()
              << " packets, 3 records of the logger's own and, on purpose, one Ethernet record"
                 " that cannot be decoded: its port direction is unknown\n";
    finishOutput();
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        if (argc != 3) {
            std::cerr << "usage: pcap_to_trace CAPTURE.pcap TRACE" << TRACE_SUFFIX << '\n';
            return 2;
        }
        convert(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "pcap_to_trace: " << e.what() << '\n';
        return 1;
    }
}
