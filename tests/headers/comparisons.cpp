// Comparisons that a user may write down. C++20 also tries each operator with its operands
// exchanged, which makes a comparison ambiguous, or earns it a warning, that C++17 accepts.
#include "libvektrace/SimpleMessage.h"

template <class A, class B>
bool compare(const A& a, const B& b) {
    return (a == b) != (a != b);
}

using start_t = SimpleMessage<MSGID_START>;
using stop_t = SimpleMessage<MSGID_STOP>;

/// A user's class with the one override that the base asks for.
class UserMessage : public MessageBase {
public:
    UserMessage() : MessageBase(MSGID_CAN, 0) {}
    UserMessage* clone() const override { return new UserMessage(*this); }
    bool operator==(const MessageBase&) const override { return true; }
    std::ostream& print(std::ostream& os) const override { return os; }
};

template bool compare(const InvalidMessage&, const InvalidMessage&);
template bool compare(const start_t&, const start_t&);
template bool compare(const MessageBase&, const MessageBase&);
template bool compare(const InvalidMessage&, const MessageBase&);
template bool compare(const MessageBase&, const InvalidMessage&);
template bool compare(const start_t&, const MessageBase&);
template bool compare(const MessageBase&, const start_t&);

template bool compare(const start_t&, const stop_t&);
template bool compare(const InvalidMessage&, const start_t&);
template bool compare(const start_t&, const InvalidMessage&);
template bool compare(const UserMessage&, const UserMessage&);
template bool compare(const UserMessage&, const InvalidMessage&);
template bool compare(const InvalidMessage&, const UserMessage&);
template bool compare(const MessageBase&, const UserMessage&);
