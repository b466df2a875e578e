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

    /// Takes `line` apart; false when it is no row of the form above.
    static bool isRow(const std::string& line, std::string& what, std::string& literal) {
        const std::string begin = "| ";
        const std::string middle = " | `";
        const std::string end = "` |";
        const size_t bar = line.find('|', begin.size());
        if (line.rfind(begin, 0) != 0 || bar == std::string::npos || bar == begin.size() ||
            line.compare(bar - 1, middle.size(), middle) != 0) {
            return false;
        }
        const size_t from = bar - 1 + middle.size();
        const size_t to = line.find('`', from);
        if (to == std::string::npos || line.substr(to) != end) {
            return false;
        }
        what = line.substr(begin.size(), bar - 1 - begin.size());
        literal = line.substr(from, to - from);
        return true;
    }

    static rows_t documentedIn(const char* path) {
        rows_t rows;
        std::ifstream document(path);
        std::string what;
        std::string literal;
        for (std::string line; std::getline(document, line);) {
            if (isRow(line, what, literal)) {
                EXPECT_TRUE(rows.emplace(what, literal).second) << "twice: " << line;
            }
        }
        return rows;
    }

    rows_t produced;
    std::set<std::string> elsewhere;
};
