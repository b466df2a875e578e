#include "libvektrace/InvalidMessageException.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

#include "support/virtualSlot.h"

namespace {

TEST(InvalidMessageCause, HasFiveValuesFromOneOn) {
    EXPECT_EQ(IM_INVALID_MSGID, 1);
    EXPECT_EQ(IM_INVALID_ENUM_VALUE, 2);
    EXPECT_EQ(IM_INVALID_LEN, 3);
    EXPECT_EQ(IM_INVALID_PARAMETER, 4);
    EXPECT_EQ(IM_MISC, 5);
    static_assert(sizeof(invalidMessageCause_t) == sizeof(int));
}

TEST(InvalidMessageException, FromCauseAndTextHasTheValueZero) {
    const InvalidMessageException e(IM_INVALID_PARAMETER, "text");
    EXPECT_EQ(e.getCause(), IM_INVALID_PARAMETER);
    EXPECT_STREQ(e.what(), "text");
    EXPECT_EQ(e.getInvalidValue(), 0);
}

TEST(InvalidMessageException, CarriesAValueWhereOneIsGiven) {
    const InvalidMessageException e(IM_INVALID_ENUM_VALUE, "colour", 0xFFFF);
    EXPECT_EQ(e.getCause(), IM_INVALID_ENUM_VALUE);
    EXPECT_STREQ(e.what(), "colour");
    EXPECT_EQ(e.getInvalidValue(), 0xFFFF);
}

TEST(InvalidMessageException, ByDefaultIsMiscWithEmptyTextAndValueZero) {
    const InvalidMessageException e;
    EXPECT_EQ(e.getCause(), IM_MISC);
    EXPECT_STREQ(e.what(), "");
    EXPECT_EQ(e.getInvalidValue(), 0);
}

TEST(InvalidMessageException, AnEmptyTextIsAnEmptyStringNotNull) {
    const InvalidMessageException e(IM_INVALID_LEN, "");
    ASSERT_NE(e.what(), nullptr);
    EXPECT_STREQ(e.what(), "");
}

TEST(InvalidMessageException, ANullTextIsALogicError) {
    const char* volatile null = nullptr;  // so that the compiler does not see through it
    EXPECT_THROW(InvalidMessageException(IM_MISC, null), std::logic_error);
    EXPECT_THROW(InvalidMessageException(IM_MISC, null, 1), std::logic_error);
}

TEST(InvalidMessageException, OwnsACopyOfTheText) {
    char text[] = "a text that is longer than any small string";
    const InvalidMessageException e(IM_MISC, text);
    text[0] = 'A';
    EXPECT_STREQ(e.what(), "a text that is longer than any small string");
}

TEST(InvalidMessageException, SetInvalidValueChangesOnlyTheValue) {
    InvalidMessageException e(IM_INVALID_LEN, "text", 1);
    e.setInvalidValue(7);
    EXPECT_EQ(e.getInvalidValue(), 7);
    EXPECT_EQ(e.getCause(), IM_INVALID_LEN);
    EXPECT_STREQ(e.what(), "text");
}

TEST(InvalidMessageException, ACopyAsThrownCarriesCauseTextAndValue) {
    const InvalidMessageException original(IM_INVALID_ENUM_VALUE, "colour", 7);
    try {
        throw InvalidMessageException(original);
    } catch (const std::exception& caught) {
        const auto& e = dynamic_cast<const InvalidMessageException&>(caught);
        EXPECT_EQ(e.getCause(), IM_INVALID_ENUM_VALUE);
        EXPECT_STREQ(e.what(), "colour");
        EXPECT_EQ(e.getInvalidValue(), 7);
        EXPECT_NE(e.what(), original.what()) << "the copy owns a text of its own";
    }
}

TEST(InvalidMessageException, NeitherWhatNorTheAccessorsThrow) {
    static_assert(noexcept(std::declval<const InvalidMessageException&>().what()));
    static_assert(std::is_nothrow_destructible_v<InvalidMessageException>);
    static_assert(std::is_base_of_v<std::exception, InvalidMessageException>);
}

TEST(InvalidMessageException, WhatFollowsTheDestructorInTheVirtualOrder) {
    EXPECT_EQ(virtualSlot(&InvalidMessageException::what), VIRTUAL_SLOTS_OF_DESTRUCTOR);
}

}  // namespace
