#include "libvektrace/busID.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

TEST(BusId, TheCatalogueCountsFromUnknownToWakeupLine) {
    const busid_t catalogue[] = {
        BUSID_UNKNOWN,       BUSID_CAN,      BUSID_SERIAL, BUSID_MOST25,        BUSID_FLEXRAY,
        BUSID_LIN,           BUSID_ETHERNET, BUSID_CAMERA, BUSID_MOST150,       BUSID_MOST50,
        BUSID_ANALOG,        BUSID_CCPXCP,   BUSID_GPIO,   BUSID_GPS,           BUSID_ECL,
        BUSID_COMPLEXFILTER, BUSID_TTY,      BUSID_TSA,    BUSID_LOGGER_INTERN, BUSID_MII,
        BUSID_WAKEUPLINE,
    };
    int value = 0;
    for (const busid_t bus : catalogue) {
        EXPECT_EQ(bus, value++);
    }
    EXPECT_EQ(BUSID_NUM, value) << "the count, one past the last bus";
    EXPECT_EQ(BUSID_NUM, 21);
}

TEST(BusId, HasTheWidthOfAnOrdinaryEnumeration) {
    static_assert(sizeof(busid_t) == sizeof(int));
    static_assert(std::is_convertible_v<busid_t, int>, "the enumeration is unscoped");
    EXPECT_EQ(static_cast<busid_t>(255), 255) << "also holds what is no bus";
}

}  // namespace
