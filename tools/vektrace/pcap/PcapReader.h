/// @file
/// Reads a capture file packet by packet: of either byte order, with microseconds or nanoseconds,
/// from a file or a pipe.
#pragma once

#include <pcap/pcap.h>

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "libvektrace/MessageBase.h"
#include "tools/vektrace/program/FileDescriptor.h"
#include "tools/vektrace/program/Progress.h"

namespace vek::program {

struct Packet {
    uint64_t number = 0;            ///< from 1 on
    uint64_t offset = 0;            ///< where in the file its header begins
    const uint8_t* data = nullptr;  ///< valid until the next packet is taken
    size_t length = 0;              ///< bytes that were captured
    size_t originalLength = 0;
    bool hasTime = false;  ///< one that can be told in microseconds since 1970
    timeStamp_t time = 0;
};

class PcapReader {
public:
    /// "-" is standard input. `progress` is told what is read. Throws Failure where there is no
    /// capture of this link type, and Interrupted when the session was stopped.
    PcapReader(Session& session, const std::string& path, int linkType, Progress& progress);
    PcapReader(const PcapReader&) = delete;
    PcapReader& operator=(const PcapReader&) = delete;

    /// False behind the last packet. Throws Failure for damage, and Interrupted when the session
    /// was stopped.
    bool next(Packet& packet);

    const std::string& name() const { return displayName; }

private:
    static ssize_t give(void* reader, char* bytes, size_t length);
    static int tell(void* reader, off64_t* position, int whence);
    void check() const;
    ssize_t readSome(char* bytes, size_t length);
    uint64_t position() const;
    [[noreturn]] void fail(uint64_t offset, const std::string& reason) const;
    void checkLinkType(int linkType) const;

    struct Closer {
        void operator()(pcap_t* open) const { pcap_close(open); }
    };

    Session& session;
    Progress& progress;
    const std::string displayName;
    const FileDescriptor file;
    uint64_t bytesRead = 0;
    std::exception_ptr failure;  ///< what was thrown while libpcap was at work
    std::unique_ptr<pcap_t, Closer> handle;
    uint64_t count = 0;
};

}  // namespace vek::program
