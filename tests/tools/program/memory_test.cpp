/// @file
/// What happens where there is no memory.

#include <gtest/gtest.h>

#include <new>
#include <ostream>

#include "support/allocations.h"
#include "tools/vektrace/program/MessageText.h"
#include "tools/vektrace/program/Progress.h"
#include "tools/vektrace/program/Session.h"

namespace vek::program {
namespace {

/// While its text grows an allocation fails.
class Growing : public MessageBase {
public:
    Growing() : MessageBase(MSGID_CAN, 0) {}
    MessageBase* clone() const override { return new Growing(*this); }
    bool operator==(const MessageBase&) const override { return false; }
    std::ostream& print(std::ostream& os) const override {
        allocations::untilFailure = 0;
        for (int i = 0; i < 100000; ++i) {
            os << '!';
        }
        allocations::untilFailure = -1;
        return os;
    }
};

class Short : public Growing {
public:
    std::ostream& print(std::ostream& os) const override { return os << "next"; }
};

TEST(MessageTextWithoutMemory, Throws) {
    MessageText text;
    EXPECT_THROW(text.render(Growing()), std::bad_alloc);
    EXPECT_EQ(text.render(Short()), "next");
}

TEST(ProgressWithoutMemory, EndsQuietly) {
    Session session;
    session.progress = Session::WHEN_ALWAYS;
    {
        Progress progress(session, 1000);
        progress.advance(500);  // so that there is much to be shown
        allocations::untilFailure = 0;
    }
    const bool hasFailed = allocations::untilFailure == -1;
    allocations::untilFailure = -1;
    EXPECT_TRUE(hasFailed);
}

}  // namespace
}  // namespace vek::program
