/// @file
/// The one exception of the message layer: bytes that cannot be turned into a message.
///
/// A decoder throws it by value; MessageBase::readFromByteArray catches it and turns it into null
/// or an InvalidMessage. Nothing else in the library throws or catches it.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "libvekutil/export.h"

/// Why bytes could not be decoded. There is no value 0. The width is fixed so that a decoder's
/// own causes beyond the list may be carried.
enum invalidMessageCause_t : int {
    IM_INVALID_MSGID = 1,       ///< no creator is registered for the identifier
    IM_INVALID_ENUM_VALUE = 2,  ///< a field holds a value outside its enumeration
    IM_INVALID_LEN = 3,         ///< a length is wrong
    IM_INVALID_PARAMETER = 4,   ///< a parameter is out of range
    IM_MISC = 5,                ///< anything else
};

/// What a creator throws: the cause, a text, and for a value outside its enumeration the number found.
class VEK_EXPORT InvalidMessageException : public std::exception {
public:
    /// IM_MISC, an empty text, the value 0.
    InvalidMessageException() = default;

    /// `text` is copied and must not be null. The invalid value is 0.
    explicit InvalidMessageException(invalidMessageCause_t _cause, const char* text)
        : InvalidMessageException(_cause, text, 0) {}

    /// For IM_INVALID_ENUM_VALUE, `text` names the enumeration and `value` is the number found:
    /// only with that cause do text and value reach the InvalidMessage.
    explicit InvalidMessageException(invalidMessageCause_t _cause, const char* text, uint16_t value)
        : cause(_cause), msg(text), invalidValue(value) {}

    /// Defined in the library, which thereby holds the only type information of the class: one
    /// thrown in any shared object is caught in every other.
    ~InvalidMessageException() override;

    /// Never null; valid while this object lives.
    const char* what() const noexcept override { return msg.c_str(); }

    /// Any number, also one that is no enumerator.
    invalidMessageCause_t getCause() const { return cause; }
    /// The number found, of use with the cause IM_INVALID_ENUM_VALUE only.
    /// @{
    void setInvalidValue(uint16_t value) { invalidValue = value; }
    uint16_t getInvalidValue() const { return invalidValue; }
    /// @}

private:
    invalidMessageCause_t cause = IM_MISC;
    std::string msg;
    uint16_t invalidValue = 0;
};
