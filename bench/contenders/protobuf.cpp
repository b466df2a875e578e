/// @file
/// Protocol Buffers: a message of the same fields, in its own encoding.

#include "cases/decode.h"
#include "cases/encode.h"
#include "contenders/contenders.h"
#include "contenders/record.pb.h"
#include "support/AppendBuffer.h"

namespace bench {

namespace {

proto::Record recordFrom(const Fields& fields) {
    proto::Record record;
    record.set_id(fields.id);
    record.set_reserved(fields.reserved);
    record.set_stamp(fields.stamp);
    record.set_payload(fields.payload.data(), fields.payload.size());
    return record;
}

Fields fieldsOf(const proto::Record& record) {
    return {static_cast<uint16_t>(record.id()), static_cast<uint16_t>(record.reserved()),
            record.stamp(), byteVec_t(record.payload().begin(), record.payload().end())};
}

class Encode {
public:
    explicit Encode(const Fields& fields) : record(recordFrom(fields)) {}
    void run() {
        bytes.reset();
        record.AppendToString(&bytes.get());
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        proto::Record decoded;
        decoded.ParseFromString(bytes.record());
        return textOf(recordOf(fieldsOf(decoded)));
    }

private:
    proto::Record record;
    AppendBuffer<std::string> bytes;
};

class Decode {
public:
    explicit Decode(const DecodeCase& c)
        : records(c.records.map(
              [](const Fields& fields) { return recordFrom(fields).SerializeAsString(); })) {}
    void run() {
        proto::Record* record = decodeNext();
        benchmark::DoNotOptimize(record);
        delete record;
    }
    std::string outcome() {
        const std::unique_ptr<proto::Record> record(decodeNext());
        return describe(fieldsOf(*record));
    }

private:
    proto::Record* decodeNext() {
        const std::string& bytes = records.next();
        auto* record = new proto::Record;
        record->ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
        return record;
    }

    Cycle<std::string> records;
};

}  // namespace

void addProtobuf() {
    constexpr const char* NAME = "protobuf";
    addEncoder<Encode>(NAME);
    for (const DecodeCase& c : knownCases()) {
        add<Decode>(c.name, NAME, c);
    }
}

}  // namespace bench
