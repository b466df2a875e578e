#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tools/vektrace/program/MessageText.h"
#include "tools/vektrace/program/csv.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/identifier.h"
#include "tools/vektrace/verbs/dumpFormat.h"

namespace vek::program {

namespace {

/// One row per record or gap, behind a row of headings.
class DumpCsv : public DumpFormat {
public:
    DumpCsv(TextOutput& _output, const DumpLook& _look) : output(_output), look(_look) {
        for (const char* const heading : {"file", "offset", "length", "kind", "id", "name", "time",
                                          "us", "reserved", "decoding", "reason", "text"}) {
            row.add(heading);
        }
        if (look.hex) {
            row.add("payload");
        }
        output.write(row.finish());
    }

    void open(const Input& input) override {
        file.clear();
        appendWithoutControls(file, input.path());
    }

    void record(const TraceSpan& span, const Decoded& decoded) override {
        begin(span.offset, span.length, "record");
        row.add(uint64_t{identifierOf(span)});
        row.add(identifierName(identifierOf(span)));
        row.add(rfc3339(timeOf(span)));
        row.add(timeOf(span));
        row.add(uint64_t{reservedOf(span)});
        row.add(decodingWord(decoded.decoding));
        addEscaped(decoded.reason);
        addEscaped(text.render(*decoded.message));
        end(payloadOf(span), payloadLength(span));
    }

    void gap(const Gap& gap) override {
        begin(gap.offset, gap.length, "gap");
        for (int column = 0; column < 6; ++column) {
            row.add("");  // what only records have
        }
        row.add(gapReasonText(gap.reason));
        row.add("");
        end(gap.head.data(), gap.head.size());
    }

private:
    void begin(uint64_t offset, uint64_t length, const char* kind) {
        row.add(file);
        row.add(offset);
        row.add(length);
        row.add(kind);
    }

    void end(const uint8_t* bytes, size_t length) {
        if (look.hex) {
            scratch.clear();
            appendHex(scratch, bytes, length);
            row.add(scratch);
        }
        output.write(row.finish());
    }

    void addEscaped(std::string_view value) {
        scratch.clear();
        appendEscaped(scratch, value);
        row.add(scratch);
    }

    TextOutput& output;
    const DumpLook look;
    MessageText text;
    std::string file;
    std::string scratch;
    CsvRow row;
};

}  // namespace

std::unique_ptr<DumpFormat> makeDumpCsv(TextOutput& output, const DumpLook& look) {
    return std::make_unique<DumpCsv>(output, look);
}

}  // namespace vek::program
