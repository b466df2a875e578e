#include "tools/vektrace/program/json.h"

#include "tools/vektrace/program/escape.h"

namespace vek::program {

namespace {

bool isUtf8(const std::string& text) {
    rapidjson::StringStream in(text.c_str());
    rapidjson::StringBuffer out;
    while (in.Peek() != '\0') {
        if (!rapidjson::UTF8<>::Validate(in, out)) {
            return false;
        }
    }
    return true;
}

}  // namespace

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
