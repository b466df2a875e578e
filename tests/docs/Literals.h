/// @file
/// The literals that a document promises, compared with what the library produces.
///
/// A literal is documented as a row of a table with two cells, the second of which is nothing but
/// the literal in backticks:
///
///     | what it is | `the literal` |
///
/// Every row of this form is compared; tables of another form are not looked at.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

class Literals {
public:
    /// A literal that the library produced.
    void add(const std::string& what, const std::string& literal) {
        EXPECT_TRUE(produced.emplace(what, literal).second) << "twice: " << what;
    }

    /// A literal that cannot be produced on this machine: only that it is documented is checked.
    void addFromElsewhere(const std::string& what) { elsewhere.insert(what); }

    /// Every literal added is in the document as it is, and no other is.
    void expectIn(const char* path) const {
        auto documented = documentedIn(path);
        for (const auto& [what, literal] : produced) {
            const auto row = documented.find(what);
            if (row == documented.end()) {
                ADD_FAILURE() << "not documented:\n| " << what << " | `" << literal << "` |";
                continue;
            }
            EXPECT_EQ(literal, row->second) << what;
            documented.erase(row);
        }
        for (const auto& what : elsewhere) {
            EXPECT_EQ(documented.erase(what), 1U) << "not documented: " << what;
        }
        for (const auto& [what, literal] : documented) {
            ADD_FAILURE() << "only documented:\n| " << what << " | `" << literal << "` |";
        }
    }

private:
    using rows_t = std::map<std::string, std::string>;

    static rows_t documentedIn(const char* path) {
        static const std::regex ROW(R"(\| ([^|]*) \| `([^`]*)` \|)");
        rows_t rows;
        std::ifstream document(path);
        for (std::string line; std::getline(document, line);) {
            std::smatch cells;
            if (std::regex_match(line, cells, ROW)) {
                EXPECT_TRUE(rows.emplace(cells[1], cells[2]).second) << "twice: " << line;
            }
        }
        return rows;
    }

    rows_t produced;
    std::set<std::string> elsewhere;
};
