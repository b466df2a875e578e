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
            return "not decodable";
    }
}

/// An InvalidMessage is known by its identifier before its class is asked for, which takes longer.
const InvalidMessage* asInvalid(const MessageBase& message) {
    return message.getMessageId() == MSGID_INVALID ? dynamic_cast<const InvalidMessage*>(&message)
                                                   : nullptr;
}

Decoded judge(const TraceSpan& record, std::unique_ptr<MessageBase> message) {
    Decoded result;
    if (message == nullptr) {
        result.decoding = DECODING_REFUSED;
        result.reason = "its decoder returned no message";
    } else if (const InvalidMessage* const invalid = asInvalid(*message)) {
        const bool refused = isRegistered(record);
        result.decoding = refused ? DECODING_REFUSED : DECODING_UNREGISTERED;
        result.reason = refused ? reasonOf(*invalid) : "";
    }
    result.message = std::move(message);
    return result;
}

Decoded failed(const std::string& reason) {
    Decoded result;
    result.decoding = DECODING_REFUSED;
    result.reason = "its decoder failed: " + reason;
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
        return failed(e.what());
    } catch (...) {
        return failed("unknown exception");
    }
}

}  // namespace vek::program
