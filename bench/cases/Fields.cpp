#include "cases/Fields.h"

#include "support/PayloadMessage.h"

namespace bench {

namespace {

void putNumber(byteVec_t& bytes, uint64_t number, unsigned count) {
    while (count-- > 0) {
        bytes.push_back(static_cast<uint8_t>(number >> 8 * count));
    }
}

}  // namespace

byteVec_t recordOf(const Fields& fields) {
    byteVec_t bytes;
    putNumber(bytes, 12 + fields.payload.size(), 2);
    putNumber(bytes, fields.id, 2);
    putNumber(bytes, fields.reserved, 2);
    putNumber(bytes, fields.stamp, 8);
    bytes.insert(bytes.end(), fields.payload.begin(), fields.payload.end());
    return bytes;
}

std::string textOf(const byteVec_t& bytes) { return {bytes.begin(), bytes.end()}; }

std::string describe(const Fields& fields) {
    return std::to_string(fields.id) + ' ' + std::to_string(fields.reserved) + ' ' +
           std::to_string(fields.stamp) + ' ' + textOf(fields.payload);
}

std::string describe(const MessageBase* message) {
    if (message == nullptr) {
        return "null";
    }
    Fields fields{
        message->getMessageId(), message->getHeaderReserved(), message->getTimeStamp(), {}};
    if (const auto* withPayload = dynamic_cast<const PayloadMessage*>(message)) {
        fields.payload = withPayload->payload;
    }
    if (const auto* invalid = dynamic_cast<const InvalidMessage*>(message)) {
        fields.id = invalid->getOriginalMsgId();
        fields.payload = invalid->getRawData();
        return describe(fields) + " cause " + std::to_string(invalid->getCause());
    }
    return describe(fields);
}

}  // namespace bench
