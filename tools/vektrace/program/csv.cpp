#include "tools/vektrace/program/csv.h"

#include <algorithm>

namespace vek::program {

namespace {

bool dividesRow(char c) { return c == ',' || c == '"' || c == '\r' || c == '\n'; }

}  // namespace

void CsvRow::add(std::string_view field) {
    if (finished) {
        row.clear();
        finished = false;
    } else {
        row += ',';
    }
    if (std::none_of(field.begin(), field.end(), dividesRow)) {
        row.append(field);
        return;
    }
    row += '"';
    for (const char c : field) {
        row.append(c == '"' ? 2 : 1, c);
    }
    row += '"';
}

std::string_view CsvRow::finish() {
    finished = true;
    return row += "\r\n";
}

}  // namespace vek::program
