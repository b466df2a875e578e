/// @file
/// JSON, through RapidJSON's writers: one line per object, or an indented document.
#pragma once

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/vektrace/program/identifier.h"
#include "tools/vektrace/program/timeText.h"

namespace vek::program {

using jsonLine_t = rapidjson::Writer<rapidjson::StringBuffer>;
using jsonDocument_t = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

/// "vektrace.NAME/1": the first member of every object that the program writes.
std::string schemaName(std::string_view name);

/// The name of a file as it is, where it is UTF-8; else with its bytes beyond ASCII as `\x` and
/// two digits, as JSON cannot hold them.
std::string jsonPath(const std::string& path);

template <class Writer>
void addString(Writer& writer, std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

template <class Writer>
void addMember(Writer& writer, const char* key, std::string_view text) {
    writer.Key(key);
    addString(writer, text);
}

template <class Writer>
void addMember(Writer& writer, const char* key, uint64_t number) {
    writer.Key(key);
    writer.Uint64(number);
}

template <class Writer>
void addFlag(Writer& writer, const char* key, bool flag) {
    writer.Key(key);
    writer.Bool(flag);
}

/// The members "time", RFC 3339 text, and "us", the microseconds as a decimal string, since the
/// numbers of most JSON readers have 53 bits.
template <class Writer>
void addTime(Writer& writer, timeStamp_t stamp) {
    addMember(writer, "time", rfc3339(stamp));
    addMember(writer, "us", std::to_string(stamp));
}

/// The members "id", a number, and "name" where the catalogue has one.
template <class Writer>
void addIdentifier(Writer& writer, msgid_t id) {
    addMember(writer, "id", uint64_t{id});
    if (const std::string_view name = identifierName(id); !name.empty()) {
        addMember(writer, "name", name);
    }
}

}  // namespace vek::program
