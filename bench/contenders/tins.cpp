/// @file
/// libtins: the header as a protocol of its own, the payload as the protocol inside it. It writes
/// the same bytes.

#include <tins/memory_helpers.h>
#include <tins/pdu.h>
#include <tins/rawpdu.h>

#include "cases/decode.h"
#include "cases/encode.h"
#include "contenders/contenders.h"

namespace bench {

namespace {

class RecordPdu : public Tins::PDU {
public:
    static constexpr PDUType pdu_flag = PDU::USER_DEFINED_PDU;  // NOLINT: libtins's own name

    explicit RecordPdu(const Fields& fields)
        : id(fields.id), reserved(fields.reserved), stamp(fields.stamp) {
        if (!fields.payload.empty()) {
            inner_pdu(Tins::RawPDU(fields.payload));
        }
    }
    RecordPdu(const uint8_t* data, uint32_t length) {
        Tins::Memory::InputMemoryStream input(data, length);
        input.read_be<uint16_t>();
        id = input.read_be<uint16_t>();
        reserved = input.read_be<uint16_t>();
        stamp = input.read_be<uint64_t>();
        if (input) {
            inner_pdu(new Tins::RawPDU(input.pointer(), static_cast<uint32_t>(input.size())));
        }
    }

    RecordPdu* clone() const override { return new RecordPdu(*this); }
    uint32_t header_size() const override { return MessageBase::MO_BASE_DERIVED; }
    PDUType pdu_type() const override { return pdu_flag; }

    Fields fields() const {
        const auto* payload = find_pdu<Tins::RawPDU>();
        return {id, reserved, stamp, payload == nullptr ? byteVec_t() : payload->payload()};
    }

private:
    void write_serialization(uint8_t* buffer, uint32_t length) override {
        Tins::Memory::OutputMemoryStream output(buffer, length);
        output.write_be(static_cast<uint16_t>(size() - MessageBase::MO_MSGID));
        output.write_be(id);
        output.write_be(reserved);
        output.write_be(stamp);
    }

    uint16_t id = 0;
    uint16_t reserved = 0;
    uint64_t stamp = 0;
};

class Encode {
public:
    explicit Encode(const Fields& fields) : pdu(fields) {}
    void run() {
        benchmark::DoNotOptimize(pdu.serialize());
        benchmark::ClobberMemory();
    }
    std::string outcome() { return textOf(pdu.serialize()); }

private:
    RecordPdu pdu;
};

class Decode {
public:
    explicit Decode(const DecodeCase& c) : records(c.records.map(recordOf)) {}
    void run() {
        RecordPdu* pdu = decodeNext();
        benchmark::DoNotOptimize(pdu);
        delete pdu;
    }
    std::string outcome() {
        const std::unique_ptr<RecordPdu> pdu(decodeNext());
        return describe(pdu->fields());
    }

private:
    RecordPdu* decodeNext() {
        const byteVec_t& record = records.next();
        return new RecordPdu(record.data(), static_cast<uint32_t>(record.size()));
    }

    Cycle<byteVec_t> records;
};

}  // namespace

void addTins() {
    constexpr const char* NAME = "libtins";
    addEncoder<Encode>(NAME);
    for (const DecodeCase& c : knownCases()) {
        add<Decode>(c.name, NAME, c);
    }
}

}  // namespace bench
