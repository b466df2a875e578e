#include "tools/vektrace/program/csv.h"

namespace vek::program {

void CsvRow::add(std::string_view field) {
    if (finished) {
        row.clear();
        finished = false;
    } else {
        row += ',';
    }
    if (field.find_first_of(",\"\r\n") == std::string_view::npos) {
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
