#include "tools/vektrace/program/json.h"

#include "tools/vektrace/program/escape.h"

namespace vek::program {

std::string schemaName(std::string_view name) { return "vektrace." + std::string(name) + "/1"; }

std::string jsonPath(const std::string& path) {
    if (isUtf8(path)) {
        return path;
    }
    std::string text;
    appendEscaped(text, path);
    return text;
}

}  // namespace vek::program
