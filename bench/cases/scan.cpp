#include "cases/scan.h"

#include <cstring>
#include <random>

#include "libvekstream/RecordScanner.h"
#include "suite/Suite.h"

namespace bench {

namespace {

constexpr size_t TRACE_SIZE = 1 << 20;

void appendRecord(byteVec_t& trace, uint16_t id, timeStamp_t stamp, size_t payloadLength) {
    const size_t begin = trace.size();
    trace.resize(
        begin + sizeof MessageBase::SYNC_MARKER + MessageBase::MO_BASE_DERIVED + payloadLength,
        0x11);
    uint16ToByteArray(&trace[begin], MessageBase::SYNC_MARKER);
    uint8_t* const record = &trace[begin + sizeof MessageBase::SYNC_MARKER];
    constexpr size_t HEADER_SIZE = MessageBase::MO_BASE_DERIVED - MessageBase::MO_MSGID;
    uint16ToByteArray(record, static_cast<uint16_t>(HEADER_SIZE + payloadLength));
    uint16ToByteArray(record + MessageBase::MO_MSGID, id);
    uint16ToByteArray(record + MessageBase::MO_HDRRESERVED, 0);
    MessageBase::setTimeStamp(record, stamp);
}

class Scan {
public:
    explicit Scan(const byteVec_t& _trace) : trace(_trace) {}
    void run() {
        RecordScanner scanner(FRAMING_MARKED);
        scanner.setInput(trace.data(), trace.size());
        TraceSpan span;
        size = 0;
        while (scanner.next(span)) {
            size += span.length;
        }
        benchmark::DoNotOptimize(size);
    }
    std::string outcome() {
        run();
        return std::to_string(size);
    }

private:
    const byteVec_t& trace;
    size_t size = 0;
};

class Copy {
public:
    explicit Copy(const byteVec_t& _trace) : trace(_trace), copy(_trace.size()) {}
    void run() {
        std::memcpy(copy.data(), trace.data(), trace.size());
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return std::to_string(copy.size());
    }

private:
    const byteVec_t& trace;
    byteVec_t copy;
};

}  // namespace

const byteVec_t& cleanTrace() {
    static const byteVec_t theTrace = [] {
        std::mt19937 random(1);
        byteVec_t trace;
        timeStamp_t stamp = 1700000000000000;
        while (trace.size() < TRACE_SIZE) {
            stamp += random() % 1000;
            appendRecord(trace, static_cast<uint16_t>(1 + random() % 12), stamp, random() % 33);
        }
        return trace;
    }();
    return theTrace;
}

const byteVec_t& hostileTrace() {
    static const byteVec_t theTrace = [] {
        byteVec_t trace(cleanTrace().size());
        constexpr uint8_t PATTERN[] = {0x55, 0xaa, 0x00};
        for (size_t i = 0; i < trace.size(); ++i) {
            trace[i] = PATTERN[i % sizeof PATTERN];
        }
        return trace;
    }();
    return theTrace;
}

void addScans() {
    add<Scan>("scan, marked records", "ours", cleanTrace());
    add<Copy>("scan, marked records", "bound", cleanTrace());
    add<Scan>("scan, hostile input", "ours", hostileTrace());
    add<Scan>("scan, hostile input", "bound", cleanTrace());
}

}  // namespace bench
