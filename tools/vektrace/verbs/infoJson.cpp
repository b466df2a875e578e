#include <cstddef>
#include <memory>
#include <string>

#include "tools/vektrace/program/json.h"
#include "tools/vektrace/verbs/infoFormat.h"

namespace vek::program {

namespace {

/// One document, as schema/vektrace.info.1.json says, handed on piece by piece: of many identifiers or
/// inputs it is too long to be kept.
class InfoJson : public InfoFormat {
public:
    explicit InfoJson(TextOutput& _output) : output(_output), writer(buffer) {
        writer.SetIndent(' ', 2);
        writer.StartObject();
        addMember(writer, "schema", schemaName("info"));
        writer.Key("traces");
        writer.StartArray();
    }

    void trace(const Input& input, const TraceStatistics& statistics) override {
        writer.StartObject();
        addMember(writer, "file", jsonPath(input.path()));
        addFlag(writer, "complete", !input.failed());
        addMember(writer, "framing", framingWord(input.framing()));
        addMember(writer, "records", statistics.records);
        addMember(writer, "bytes", statistics.bytes);
        if (statistics.records != 0) {
            addMoment("first", statistics.scale.low);
            addMoment("last", statistics.scale.high);
        }
        addMember(writer, "backward_steps", statistics.backwardSteps);
        addMember(writer, "largest_backward_step_us",
                  std::to_string(statistics.largestBackwardStep));
        addMember(writer, "ambiguous", input.ambiguities());
        addMember(writer, "refused", statistics.losses.refused);
        addGaps(statistics);
        addIdentifiers(statistics);
        writer.EndObject();
        handOn();
    }

    void finish() override {
        writer.EndArray();
        writer.EndObject();
        handOn();
        output.write("\n");
    }

private:
    void handOn() {
        output.write({buffer.GetString(), buffer.GetSize()});
        buffer.Clear();
    }

    void addMoment(const char* key, timeStamp_t stamp) {
        writer.Key(key);
        writer.StartObject();
        addTime(writer, stamp);
        writer.EndObject();
    }

    void addGaps(const TraceStatistics& statistics) {
        addMember(writer, "gaps", statistics.losses.gaps.all.gaps);
        addMember(writer, "gap_bytes", statistics.losses.gaps.all.bytes);
        writer.Key("gaps_by_reason");
        writer.StartArray();
        statistics.losses.gaps.forEachReason([this](gapReason_t reason, const GapCount& count) {
            writer.StartObject();
            addMember(writer, "reason", gapReasonText(reason));
            addMember(writer, "gaps", count.gaps);
            addMember(writer, "bytes", count.bytes);
            writer.EndObject();
        });
        writer.EndArray();
    }

    void addIdentifiers(const TraceStatistics& statistics) {
        if (statistics.records != 0) {
            addMoment("cells_begin", statistics.scale.begin());
            addMember(writer, "cell_us", std::to_string(statistics.scale.cellWidth()));
        }
        writer.Key("identifiers");
        writer.StartArray();
        statistics.forEachIdentifier(
            [&](msgid_t id, const IdentifierStatistics& row) { addRow(id, row, statistics); });
        writer.EndArray();
    }

    void addRow(msgid_t id, const IdentifierStatistics& row, const TraceStatistics& statistics) {
        writer.StartObject();
        addIdentifier(writer, id);
        addMember(writer, "records", row.records);
        addMember(writer, "bytes", row.bytes);
        writer.Key("share");
        writer.Double(static_cast<double>(row.bytes) / static_cast<double>(statistics.bytes));
        addMoment("first", row.earliest);
        addMoment("last", row.latest);
        writer.Key("mean_rate");
        writer.Double(row.meanRate());
        addMember(writer, "largest_pause_us", std::to_string(row.largestPause));
        writer.Key("cells");
        writer.StartArray();
        for (size_t cell = 0; cell < statistics.scale.used(); ++cell) {
            writer.Uint64(row.overTime[cell]);
        }
        writer.EndArray();
        writer.EndObject();
        handOn();
    }

    TextOutput& output;
    rapidjson::StringBuffer buffer;  ///< what `output` has not got yet
    jsonDocument_t writer;
};

}  // namespace

std::unique_ptr<InfoFormat> makeInfoJson(TextOutput& output) {
    return std::make_unique<InfoJson>(output);
}

}  // namespace vek::program
