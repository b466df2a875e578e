// How `vektrace split` names its pieces.

#include "tools/vektrace/copying/pieceNames.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TemporaryFolder.h"

namespace {

using vek::program::existingPieces;
using vek::program::mostPieces;
using vek::program::pieceKey;
using vek::program::pieceName;
using vek::program::piecePrefix;
using vek::program::piecesOfOtherDigits;

TEST(PieceNames, HaveAsManyDigitsAsAreAskedFor) {
    EXPECT_EQ(pieceName("a/drive", 1, 4), "a/drive-0001.vkt");
    EXPECT_EQ(pieceName("drive", 9999, 4), "drive-9999.vkt");
    EXPECT_EQ(pieceName("drive", 9, 1), "drive-9.vkt");
    EXPECT_EQ(pieceName("", 123, 18), "-000000000000000123.vkt");
}

TEST(PieceNames, AreAsManyAsTheirDigitsCanNumber) {
    EXPECT_EQ(mostPieces(1), 9U);
    EXPECT_EQ(mostPieces(4), 9999U);
    EXPECT_EQ(mostPieces(18), 999999999999999999U);
}

TEST(PieceNames, BeginAsTheTraceIsNamedWithoutItsSuffixes) {
    EXPECT_EQ(piecePrefix("a.b/drive.vkt"), "a.b/drive");
    EXPECT_EQ(piecePrefix("drive.vkt.gz"), "drive");
    EXPECT_EQ(piecePrefix("drive.vkt.zst"), "drive");
    EXPECT_EQ(piecePrefix("drive.gz"), "drive");
    EXPECT_EQ(piecePrefix("drive.bin"), "drive.bin");
    EXPECT_EQ(piecePrefix("drive"), "drive");
}

TEST(PieceKey, IsThatOfOneNameInOneFolderHoweverItIsReached) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("other"));
    std::filesystem::create_directory_symlink(folder.path(""), folder.path("link"));
    const auto key = pieceKey(folder.path("d"));
    EXPECT_EQ(pieceKey(folder.path("./d")), key);
    EXPECT_EQ(pieceKey(folder.path("other/../d")), key);
    EXPECT_EQ(pieceKey(folder.path("link//d")), key);
    EXPECT_EQ(pieceKey("d"), pieceKey("./d"));
    EXPECT_NE(pieceKey(folder.path("e")), key);
    EXPECT_NE(pieceKey(folder.path("other/d")), key);
}

TEST(PieceKey, IsThePrefixWhereTheFolderIsNotThere) {
    EXPECT_EQ(pieceKey("nowhere/d"), pieceKey("nowhere/d"));
    EXPECT_NE(pieceKey("nowhere/d"), pieceKey("nowhere/e"));
    EXPECT_NE(pieceKey("nowhere/d"), pieceKey("elsewhere/d"));
}

class ExistingPieces : public testing::Test {
protected:
    std::string at(const std::string& name) const { return folder.path(name); }

    TemporaryFolder folder;
};

TEST_F(ExistingPieces, AreFoundInTheOrderOfTheirNumbers) {
    for (const char* name : {"d-1000.vkt", "d-0002.vkt", "d-9999.vkt", "d-0001.vkt"}) {
        folder.write(name, {});
    }
    EXPECT_EQ(existingPieces(at("d"), 4),
              (std::vector<std::string>{at("d-0001.vkt"), at("d-0002.vkt"), at("d-1000.vkt"),
                                        at("d-9999.vkt")}));
    EXPECT_TRUE(piecesOfOtherDigits(at("d"), 4).empty());
}

TEST_F(ExistingPieces, AreNamedAsThePieceWillBe) {
    folder.write("d-0001.vkt", {});
    for (const char* name : {"d", "./d", ".//d"}) {
        const std::string prefix = at("") + name;
        EXPECT_EQ(existingPieces(prefix, 4), std::vector<std::string>{pieceName(prefix, 1, 4)});
    }
}

TEST_F(ExistingPieces, AreThoseOfTheSameDigits) {
    for (const char* name : {"d-01.vkt", "d-0001.vkt", "d-10000.vkt", "d-00002.vkt"}) {
        folder.write(name, {});
    }
    EXPECT_EQ(existingPieces(at("d"), 2), (std::vector<std::string>{at("d-01.vkt")}));
    EXPECT_EQ(existingPieces(at("d"), 4), (std::vector<std::string>{at("d-0001.vkt")}));
    EXPECT_EQ(existingPieces(at("d"), 5),
              (std::vector<std::string>{at("d-00002.vkt"), at("d-10000.vkt")}));
}

TEST_F(ExistingPieces, OfOtherDigitsHaveFourOrMore) {
    for (const char* name : {"d-01.vkt", "d-001.vkt", "d-0001.vkt", "d-00002.vkt"}) {
        folder.write(name, {});
    }
    EXPECT_EQ(piecesOfOtherDigits(at("d"), 5), (std::vector<std::string>{at("d-0001.vkt")}));
    EXPECT_EQ(piecesOfOtherDigits(at("d"), 4), (std::vector<std::string>{at("d-00002.vkt")}));
    EXPECT_EQ(piecesOfOtherDigits(at("d"), 2),
              (std::vector<std::string>{at("d-00002.vkt"), at("d-0001.vkt")}));
}

TEST_F(ExistingPieces, AreNotFilesOfOtherNames) {
    for (const char* name : {"d.vkt", "d-1.vkt", "d-001.vkt", "d-0001.bin", "e-0001.vkt",
                             "dd-0001.vkt", "d-0001.vkt.gz", "d-000a.vkt", "d-.vkt", "d0001.vkt"}) {
        folder.write(name, {});
    }
    EXPECT_TRUE(existingPieces(at("d"), 4).empty());
    EXPECT_TRUE(piecesOfOtherDigits(at("d"), 4).empty());
}

TEST_F(ExistingPieces, AreNoneInAFolderThatIsNotThere) {
    EXPECT_TRUE(existingPieces(at("nowhere/d"), 4).empty());
    EXPECT_TRUE(piecesOfOtherDigits(at("nowhere/d"), 4).empty());
}

}  // namespace
