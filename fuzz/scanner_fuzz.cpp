// Any bytes as a trace: the spans tile it, equal those of the scanner's plain twin for every framing
// and rule, and do not depend on the pieces in which the bytes come.

#include "fuzz/support/Script.h"
#include "libvekstream/scanner/scan.h"

namespace {

using spans_t = std::vector<TraceSpan>;

spans_t atOnce(const byteVec_t& input, const Way& way) {
    RecordScanner scanner(way.framing, way.rule);
    scanner.setInput(input.data(), input.size());
    spans_t spans;
    for (TraceSpan span; scanner.next(span);) {
        spans.push_back(span);
        require(scanner.position() == span.offset + span.length, "the position is behind the span");
    }
    const char* const broken = brokenLaw(input.data(), input.size(), spans);
    require(broken == nullptr, broken);
    const PlainScanner plain(input, way.framing, way.rule, knownIds());
    require(same(spans, plain.spans()), "the spans are those of the plain twin");
    require(scanner.ambiguities() == plain.ambiguities(), "so are the ambiguities");
    require(input.empty() || scanner.framing() == plain.framing(), "so is the framing");
    return spans;
}

/// Lengths that an input can choose: short ones, and long ones now and then.
class Pieces {
public:
    explicit Pieces(unsigned _seed) : seed(_seed) {}
    size_t next() {
        seed = seed * 1103515245 + 12345;
        const unsigned dice = seed >> 16;
        return 1 + dice % (dice % 4 == 0 ? 100 : 13);
    }

private:
    unsigned seed;
};

/// Each piece is given in memory of its own, which ends where it ends.
spans_t inPieces(const byteVec_t& input, const Way& way, Pieces pieces,
                 RecordScanner::inputEnd_t between) {
    RecordScanner scanner(way.framing, way.rule);
    spans_t spans;
    for (size_t end = 0; end < input.size();) {
        end = std::min(input.size(), end + pieces.next());
        const auto begin = static_cast<size_t>(scanner.position());
        const byteVec_t piece(input.begin() + static_cast<ptrdiff_t>(begin),
                              input.begin() + static_cast<ptrdiff_t>(end));
        const bool last = end == input.size();
        scanner.setInput(piece.data(), piece.size(), last ? RecordScanner::INPUT_ENDS : between);
        for (TraceSpan span; scanner.next(span);) {
            require(span.data == piece.data() + (span.offset - begin), "a span lies in its piece");
            span.data = input.data() + span.offset;
            spans.push_back(span);
        }
    }
    return spans;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Script script(data, size);
    const uint8_t choice = script.byte();
    const byteVec_t input = script.rest();
    const size_t chosen = choice % std::size(EVERY_WAY);
    for (size_t i = 0; i < std::size(EVERY_WAY); ++i) {
        const Way& way = EVERY_WAY[i];
        const spans_t spans = atOnce(input, way);
        if (i == chosen) {
            const Pieces pieces(choice);
            require(same(inPieces(input, way, pieces, RecordScanner::INPUT_CONTINUES), spans),
                    "pieces change nothing");
            const spans_t paused = inPieces(input, way, pieces, RecordScanner::INPUT_PAUSES);
            const char* const broken = brokenLaw(input.data(), input.size(), paused);
            require(broken == nullptr, broken);
        }
    }
    return 0;
}
