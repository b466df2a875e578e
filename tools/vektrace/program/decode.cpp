#include "tools/vektrace/program/decode.h"

#include <fmt/format.h>

#include <exception>
#include <new>
#include <utility>

#include "libvekstream/decodeRecord.h"

namespace vek::program {

namespace {

std::string reasonOf(const InvalidMessage& message) {
    switch (message.getCause()) {
        case IM_INVALID_MSGID:
            return "invalid identifier";
        case IM_INVALID_ENUM_VALUE:
            return fmt::format("invalid value {} of {}", message.getInvalidEnumValue(),
                               message.getInvalidEnumDescription());
        case IM_INVALID_LEN:
            return "invalid length";
        case IM_INVALID_PARAMETER:
            return "invalid parameter";
        default:
            return fmt::format("cause {}", static_cast<int>(message.getCause()));
    }
}

/// An InvalidMessage is known by its identifier before its class is asked for, which takes longer.
const InvalidMessage* asInvalid(const MessageBase& message) {
    return message.getMessageId() == MSGID_INVALID ? dynamic_cast<const InvalidMessage*>(&message)
                                                   : nullptr;
}

/// For a creator that gave no message: with one in its place that shows the reason and the payload.
Decoded refused(const TraceSpan& record, const std::string& reason) {
    auto message = std::make_unique<InvalidMessage>(record.record(), record.recordLength());
    message->setDescription(("Not decodable, " + reason).c_str());
    return {DECODING_REFUSED, std::move(message), reason};
}

Decoded judge(const TraceSpan& record, std::unique_ptr<MessageBase> message) {
    if (message == nullptr) {
        return refused(record, "its decoder returned no message");
    }
    Decoded result;
    if (const InvalidMessage* const invalid = asInvalid(*message)) {
        const bool registered = isRegistered(record);
        result.decoding = registered ? DECODING_REFUSED : DECODING_UNREGISTERED;
        result.reason = registered ? reasonOf(*invalid) : "";
    }
    result.message = std::move(message);
    return result;
}

}  // namespace

bool isRegistered(const TraceSpan& record) {
    return MessageBase::creators.count(identifierOf(record)) != 0;
}

Decoded decode(const TraceSpan& record) {
    try {
        return judge(record, decodeRecord(record));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        return refused(record, std::string("its decoder failed: ") + e.what());
    } catch (...) {
        return refused(record, "its decoder failed: unknown exception");
    }
}

}  // namespace vek::program
