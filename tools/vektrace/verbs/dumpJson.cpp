#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tools/vektrace/program/MessageText.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/json.h"
#include "tools/vektrace/verbs/dumpFormat.h"

namespace vek::program {

namespace {

/// One object per line, as schema/vektrace.dump.1.json says.
class DumpJson : public DumpFormat {
public:
    DumpJson(TextOutput& _output, const DumpLook& _look) : output(_output), look(_look) {}

    void open(const Input& input) override { file = jsonPath(input.path()); }

    void record(const TraceSpan& span, const Decoded& decoded) override {
        begin(span.offset, span.length, "record");
        addFlag(writer, "marked", span.marked);
        addIdentifier(writer, identifierOf(span));
        addTime(writer, timeOf(span));
        addMember(writer, "reserved", uint64_t{reservedOf(span)});
        addMember(writer, "decoding", decodingWord(decoded.decoding));
        if (decoded.decoding == DECODING_REFUSED) {
            addEscaped("reason", decoded.reason);
        }
        addEscaped("text", text.render(*decoded.message));
        end(payloadOf(span), payloadLength(span));
    }

    void gap(const Gap& gap) override {
        begin(gap.offset, gap.length, "gap");
        addMember(writer, "reason", gapReasonText(gap.reason));
        end(gap.head.data(), gap.head.size());
    }

private:
    void begin(uint64_t offset, uint64_t length, const char* kind) {
        buffer.Clear();
        writer.Reset(buffer);
        writer.StartObject();
        addMember(writer, "schema", schemaName("dump"));
        addMember(writer, "file", file);
        addMember(writer, "offset", offset);
        addMember(writer, "length", length);
        addMember(writer, "kind", kind);
    }

    void end(const uint8_t* bytes, size_t length) {
        if (look.hex) {
            scratch.clear();
            appendHex(scratch, bytes, length);
            addMember(writer, "payload", scratch);
        }
        writer.EndObject();
        output.write({buffer.GetString(), buffer.GetSize()});
        output.write("\n");
    }

    void addEscaped(const char* key, std::string_view value) {
        scratch.clear();
        appendEscaped(scratch, value);
        addMember(writer, key, scratch);
    }

    TextOutput& output;
    const DumpLook look;
    MessageText text;
    std::string file;
    std::string scratch;
    rapidjson::StringBuffer buffer;
    jsonLine_t writer;
};

}  // namespace

std::unique_ptr<DumpFormat> makeDumpJson(TextOutput& output, const DumpLook& look) {
    return std::make_unique<DumpJson>(output, look);
}

}  // namespace vek::program
