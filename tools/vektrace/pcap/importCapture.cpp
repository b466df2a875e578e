#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "tools/vektrace/copying/conclusion.h"
#include "tools/vektrace/pcap/PacketRecord.h"
#include "tools/vektrace/pcap/PcapWriter.h"
#include "tools/vektrace/pcap/conversion.h"
#include "tools/vektrace/program/timeText.h"

namespace vek::program {

namespace {

class Importer {
public:
    Importer(Session& _session, Output& _output) : session(_session), output(_output) {}

    /// False where it could not be read to its end, of which the session was told.
    bool import(PcapReader& capture);

private:
    void import(const PcapReader& capture, const Packet& packet);
    void lose(const PcapReader& capture, const Packet& packet, const std::string& reason);

    Session& session;
    Output& output;
    framing_t framing = FRAMING_DETECT;  ///< of the trace, once it has a record
};

bool Importer::import(PcapReader& capture) {
    Packet packet;
    while (true) {
        try {
            if (!capture.next(packet)) {
                return true;
            }
        } catch (const Failure& e) {
            session.error(e.what());
            return false;
        }
        import(capture, packet);
    }
}

void Importer::import(const PcapReader& capture, const Packet& packet) {
    if (packet.length < packet.originalLength) {
        lose(capture, packet,
             fmt::format("left out: only {} of its {} bytes were captured", packet.length,
                         packet.originalLength));
        return;
    }
    const auto record = recordOf(packet);
    if (!record) {
        lose(capture, packet, fmt::format("left out: its {} bytes are no record", packet.length));
        return;
    }
    if (framing != FRAMING_DETECT && framing != record->framing) {
        lose(capture, packet,
             fmt::format("left out: a record {} a sync marker, unlike those before",
                         record->framing == FRAMING_MARKED ? "with" : "without"));
        return;
    }
    framing = record->framing;
    if (!packet.hasTime || packet.time != record->time) {
        lose(capture, packet,
             fmt::format("its time is lost: it is not that of its record, {}",
                         rfc3339(record->time)));
    }
    output.write(packet.data, packet.length);
}

void Importer::lose(const PcapReader& capture, const Packet& packet, const std::string& reason) {
    session.loss(failureText(capture.name(), packet.offset,
                             fmt::format("packet {}: {}", packet.number, reason)));
}

/// Null, and the session told, when it cannot be opened.
std::unique_ptr<PcapReader> open(Session& session, const std::string& path, Progress& progress) {
    try {
        return std::make_unique<PcapReader>(session, path, RECORD_LINK_TYPE, progress);
    } catch (const Failure& e) {
        session.error(e.what());
        return nullptr;
    }
}

}  // namespace

void importCapture(const InputOptions& inputs, const OutputOptions& options, Session& session) {
    const std::vector<std::string> paths = inputPaths(inputs);
    Output output(session, options, paths);
    Progress progress(session, totalSize(paths));
    Importer importer(session, output);
    InputTally opened;
    for (const std::string& path : paths) {
        if (const auto capture = open(session, path, progress)) {
            opened.add(path, !importer.import(*capture));
        }
    }
    conclude(session, output, opened);
}

}  // namespace vek::program
