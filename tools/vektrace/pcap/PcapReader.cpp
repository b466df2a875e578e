#include "tools/vektrace/pcap/PcapReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <limits>
#include <new>

#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/timeUnits.h"
#include "tools/vektrace/program/waiting.h"

namespace vek::program {

namespace {

constexpr size_t READ_BUFFER = 0x10000;

void readTime(const pcap_pkthdr& header, Packet& packet) {
    int64_t seconds = header.ts.tv_sec;
    const int64_t microseconds = header.ts.tv_usec;
    if (seconds < 0) {
        // The 32 bits of the file have no sign, but libpcap reads them as if they had.
        seconds += int64_t{1} << 32;
    }
    packet.hasTime = seconds >= 0 && microseconds >= 0 &&
                     microseconds < int64_t{MICROSECONDS_PER_SECOND} &&
                     seconds <= std::numeric_limits<int64_t>::max() / 1'000'000 - 1;
    if (packet.hasTime) {
        packet.time = static_cast<uint64_t>(seconds) * MICROSECONDS_PER_SECOND +
                      static_cast<uint64_t>(microseconds);
    }
}

}  // namespace

PcapReader::PcapReader(Session& _session, const std::string& path, int linkType,
                       Progress& _progress)
    : session(_session),
      progress(_progress),
      displayName(inputName(path)),
      file(path == "-" ? FileDescriptor(STDIN_FILENO) : FileDescriptor(path, O_RDONLY)) {
    std::FILE* const stream =
        fopencookie(this, "r", {&PcapReader::give, nullptr, &PcapReader::tell, nullptr});
    if (stream == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(std::setvbuf(stream, nullptr, _IOFBF, READ_BUFFER));
    char reason[PCAP_ERRBUF_SIZE] = "";
    handle.reset(
        pcap_fopen_offline_with_tstamp_precision(stream, PCAP_TSTAMP_PRECISION_MICRO, reason));
    if (!handle) {
        static_cast<void>(std::fclose(stream));
        check();
        fail(0, reason);
    }
    checkLinkType(linkType);
}

void PcapReader::checkLinkType(int linkType) const {
    const int found = pcap_datalink(handle.get());
    if (found != linkType) {
        // libpcap has one buffer for the text of all types that it does not know.
        const std::string text = pcap_datalink_val_to_description_or_dlt(found);
        throw Failure(displayName, "its packets are " + text + ", not " +
                                       pcap_datalink_val_to_description_or_dlt(linkType));
    }
}

bool PcapReader::next(Packet& packet) {
    packet = Packet();
    packet.offset = position();
    pcap_pkthdr* header = nullptr;
    const int result = pcap_next_ex(handle.get(), &header, &packet.data);
    check();
    if (session.stopped()) {
        throw Interrupted();
    }
    if (result == PCAP_ERROR_BREAK) {
        return false;
    }
    packet.number = ++count;
    if (result != 1) {
        fail(packet.offset, "packet " + std::to_string(count) + ": " + pcap_geterr(handle.get()));
    }
    packet.length = header->caplen;
    packet.originalLength = header->len;
    readTime(*header, packet);
    return true;
}

uint64_t PcapReader::position() const {
    return static_cast<uint64_t>(ftello(pcap_file(handle.get())));
}

/// No exception may pass through libpcap: it is kept until that has returned.
ssize_t PcapReader::give(void* reader, char* bytes, size_t length) {
    PcapReader& self = *static_cast<PcapReader*>(reader);
    try {
        return self.readSome(bytes, length);
    } catch (...) {
        self.failure = std::current_exception();
        errno = EIO;
        return -1;
    }
}

void PcapReader::check() const {
    if (failure) {
        std::rethrow_exception(failure);
    }
}

ssize_t PcapReader::readSome(char* bytes, size_t length) {
    const ssize_t result = readWaiting(session, file.get(), bytes, length);
    if (result > 0) {
        bytesRead += static_cast<uint64_t>(result);
        progress.advance(static_cast<uint64_t>(result));
    }
    return result;
}

/// The only seeking there is: none, which is how the library asks where it is.
int PcapReader::tell(void* reader, off64_t* position, int whence) {
    if (whence != SEEK_CUR || *position != 0) {
        return -1;
    }
    *position = static_cast<off64_t>(static_cast<const PcapReader*>(reader)->bytesRead);
    return 0;
}

void PcapReader::fail(uint64_t offset, const std::string& reason) const {
    if (session.stopped()) {
        throw Interrupted();
    }
    throw Failure(displayName, offset, reason);
}

}  // namespace vek::program
