/// @file
/// MessagePack: an array of the same fields, in its own encoding.

#include <msgpack.hpp>

#include "cases/decode.h"
#include "cases/encode.h"
#include "contenders/contenders.h"

namespace bench {

namespace {

struct PackedRecord {
    uint16_t id = 0;
    uint16_t reserved = 0;
    uint64_t stamp = 0;
    byteVec_t payload;
    MSGPACK_DEFINE_ARRAY(id, reserved, stamp, payload)
};

PackedRecord recordFrom(const Fields& fields) {
    return {fields.id, fields.reserved, fields.stamp, fields.payload};
}

Fields fieldsOf(const PackedRecord& record) {
    return {record.id, record.reserved, record.stamp, record.payload};
}

/// Bytes and strings are referred to where they are and copied once, into the record.
bool refer(msgpack::type::object_type /*type*/, size_t /*length*/, void* /*data*/) { return true; }

PackedRecord* unpack(const char* bytes, size_t length) {
    auto* record = new PackedRecord;
    msgpack::unpack(bytes, length, refer)->convert(*record);
    return record;
}

class Encode {
public:
    explicit Encode(const Fields& fields) : record(recordFrom(fields)) {}
    void run() {
        bytes.clear();
        msgpack::pack(bytes, record);
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        const std::unique_ptr<PackedRecord> decoded(unpack(bytes.data(), bytes.size()));
        return textOf(recordOf(fieldsOf(*decoded)));
    }

private:
    PackedRecord record;
    msgpack::sbuffer bytes;
};

class Decode {
public:
    explicit Decode(const DecodeCase& c)
        : records(c.records.map([](const Fields& fields) {
              msgpack::sbuffer bytes;
              msgpack::pack(bytes, recordFrom(fields));
              return std::string(bytes.data(), bytes.size());
          })) {}
    void run() {
        PackedRecord* record = decodeNext();
        benchmark::DoNotOptimize(record);
        delete record;
    }
    std::string outcome() {
        const std::unique_ptr<PackedRecord> record(decodeNext());
        return describe(fieldsOf(*record));
    }

private:
    PackedRecord* decodeNext() {
        const std::string& bytes = records.next();
        return unpack(bytes.data(), bytes.size());
    }

    Cycle<std::string> records;
};

}  // namespace

void addMsgpack() {
    constexpr const char* NAME = "msgpack";
    addEncoder<Encode>(NAME);
    for (const DecodeCase& c : knownCases()) {
        add<Decode>(c.name, NAME, c);
    }
}

}  // namespace bench
