// The ways to give a name that is not taken do the same, where the file system has all of them.

#include "libvekstream/detail/OutputFile.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/TemporaryFolder.h"
#include "support/hex.h"

namespace {

using vek::detail::giveNewName;
using vek::detail::linkToNewName;
using vek::detail::renameToNewName;
using vek::detail::replacePlaceholder;
using names_t = std::vector<std::string>;

struct Way {
    const char* name;
    int (*give)(const std::string& from, const std::string& to);
};

/// How the names of tests show it.
void PrintTo(const Way& way, std::ostream* os) { *os << way.name; }

class NewName : public testing::TestWithParam<Way> {};

INSTANTIATE_TEST_SUITE_P(EachWay, NewName,
                         testing::Values(Way{"rename", renameToNewName}, Way{"link", linkToNewName},
                                         Way{"placeholder", replacePlaceholder},
                                         Way{"any", giveNewName}));

TEST_P(NewName, IsGivenInThePlaceOfTheOldOne) {
    const TemporaryFolder folder;
    folder.write("old", {1});
    EXPECT_EQ(GetParam().give(folder.path("old"), folder.path("new")), 0);
    EXPECT_EQ(folder.names(), names_t{"new"});
    EXPECT_EQ(hex(folder.content("new")), "01");
}

TEST_P(NewName, IsNotTakenFromAnother) {
    const TemporaryFolder folder;
    folder.write("old", {1});
    folder.write("new", {2});
    EXPECT_EQ(GetParam().give(folder.path("old"), folder.path("new")), EEXIST);
    EXPECT_EQ(hex(folder.content("old")), "01");
    EXPECT_EQ(hex(folder.content("new")), "02");
}

TEST_P(NewName, IsNotTakenFromALinkThatLeadsNowhere) {
    const TemporaryFolder folder;
    folder.write("old", {1});
    std::filesystem::create_symlink("nowhere", folder.path("new"));
    EXPECT_EQ(GetParam().give(folder.path("old"), folder.path("new")), EEXIST);
}

TEST_P(NewName, IsNotTakenWhereThereIsNothingToBeNamed) {
    const TemporaryFolder folder;
    EXPECT_EQ(GetParam().give(folder.path("old"), folder.path("new")), ENOENT);
    EXPECT_EQ(folder.names(), names_t{});
}

}  // namespace
