// How `vektrace split` names its pieces.

#include "tools/vektrace/copying/pieceNames.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace {

using vek::program::existingPieces;
using vek::program::pieceName;
using vek::program::piecePrefix;

TEST(PieceNames, HaveFourDigitsOrMore) {
    EXPECT_EQ(pieceName("a/drive", 1), "a/drive-0001.vkt");
    EXPECT_EQ(pieceName("drive", 9999), "drive-9999.vkt");
    EXPECT_EQ(pieceName("drive", 10000), "drive-10000.vkt");
    EXPECT_EQ(pieceName("", 18446744073709551615u), "-18446744073709551615.vkt");
}

TEST(PieceNames, BeginAsTheTraceIsNamedWithoutItsSuffixes) {
    EXPECT_EQ(piecePrefix("a.b/drive.vkt"), "a.b/drive");
    EXPECT_EQ(piecePrefix("drive.vkt.gz"), "drive");
    EXPECT_EQ(piecePrefix("drive.vkt.zst"), "drive");
    EXPECT_EQ(piecePrefix("drive.gz"), "drive");
    EXPECT_EQ(piecePrefix("drive.bin"), "drive.bin");
    EXPECT_EQ(piecePrefix("drive"), "drive");
}

class ExistingPieces : public testing::Test {
protected:
    std::string at(const std::string& name) const { return folder.path(name); }

    TemporaryFolder folder;
};

TEST_F(ExistingPieces, AreFoundInTheOrderOfTheirNumbers) {
    for (const char* name : {"d-10000.vkt", "d-0002.vkt", "d-9999.vkt", "d-0001.vkt"}) {
        folder.write(name, {});
    }
    EXPECT_EQ(existingPieces(at("d")),
              (std::vector<std::string>{at("d-0001.vkt"), at("d-0002.vkt"), at("d-9999.vkt"),
                                        at("d-10000.vkt")}));
}

TEST_F(ExistingPieces, AreNotFilesOfOtherNames) {
    for (const char* name :
         {"d.vkt", "d-1.vkt", "d-001.vkt", "d-00001.vkt", "d-0001.bin", "e-0001.vkt", "dd-0001.vkt",
          "d-0001.vkt.gz", "d-000a.vkt", "d-.vkt", "d0001.vkt"}) {
        folder.write(name, {});
    }
    EXPECT_TRUE(existingPieces(at("d")).empty());
}

TEST_F(ExistingPieces, AreNoneInAFolderThatIsNotThere) {
    EXPECT_TRUE(existingPieces(at("nowhere/d")).empty());
}

}  // namespace
