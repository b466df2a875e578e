#include "libvekstream/TraceReader.h"

#include <cstring>
#include <new>
#include <optional>

#include "libvekstream/detail/CompressedSource.h"
#include "libvekstream/detail/IoError.h"

using namespace vek::detail;

// The window holds the bytes from `base` on; those in front of the scanner's position are done with.
// They go when there is little room left, so that each byte is moved less than twice on average.
struct TraceReader::State {
    /// Least room for a read, once the scanner has seen as much as it ever asks for.
    static constexpr size_t LEAST_ROOM = 0x10000;
    static constexpr size_t WINDOW = 0xc0000;
    static_assert(WINDOW >= RecordScanner::MAX_LOOKAHEAD + LEAST_ROOM);
    static_assert(WINDOW + CompressedSource::CAPACITY <= 0x100000);

    State(int fd, const TraceReaderOptions& options)
        : input(fd, options.follow, options.stop),
          expansionLimit(options.expansionLimit),
          scanner(options.framing, options.rule),
          window(new uint8_t[WINDOW]) {}

    bool next(TraceSpan& span);
    void readMore();
    void makeRoom();
    RecordScanner::inputEnd_t fill();
    void open();
    std::unique_ptr<ByteSource> decompressor(compression_t compression);

    FdSource input;
    uint64_t expansionLimit;
    std::unique_ptr<ByteSource> decompressed;
    ByteSource* source = nullptr;  ///< null: not known yet
    RecordScanner scanner;
    std::unique_ptr<uint8_t[]> window;
    uint64_t base = 0;
    size_t filled = 0;
    RecordScanner::inputEnd_t end = RecordScanner::INPUT_CONTINUES;
    std::optional<IoError> failure;
};

bool TraceReader::State::next(TraceSpan& span) {
    while (!scanner.next(span)) {
        if (failure) {
            throw TraceException(failure->reason(), base + filled, failure->error());
        }
        if (end == RecordScanner::INPUT_ENDS) {
            return false;
        }
        readMore();
    }
    return true;
}

void TraceReader::State::readMore() {
    makeRoom();
    try {
        end = fill();
    } catch (const IoError& error) {
        failure = error;
        end = RecordScanner::INPUT_ENDS;
    }
    const auto done = static_cast<size_t>(scanner.position() - base);
    scanner.setInput(window.get() + done, filled - done, end);
}

void TraceReader::State::makeRoom() {
    const auto done = static_cast<size_t>(scanner.position() - base);
    if (done == filled || WINDOW - filled < LEAST_ROOM) {
        std::memmove(window.get(), window.get() + done, filled - done);
        base += done;
        filled -= done;
    }
}

RecordScanner::inputEnd_t TraceReader::State::fill() {
    if (source == nullptr) {
        open();
        return RecordScanner::INPUT_CONTINUES;
    }
    const size_t length = source->read(window.get() + filled, WINDOW - filled);
    filled += length;
    if (length > 0) {
        return RecordScanner::INPUT_CONTINUES;
    }
    return source->paused() ? RecordScanner::INPUT_PAUSES : RecordScanner::INPUT_ENDS;
}

/// Takes the first bytes, which tell what the input is. Where memory is lacking they stay, to be told
/// by once more.
void TraceReader::State::open() {
    compression_t compression = compressionOf(window.get(), filled);
    for (bool goesOn = true; compression == COMPRESSION_OPEN && goesOn;) {
        const size_t length =
            input.read(window.get() + filled, CompressedSource::CAPACITY - filled);
        filled += length;
        compression = compressionOf(window.get(), filled);
        goesOn = length > 0 || input.paused();
    }
    decompressed = decompressor(compression);
    source = decompressed == nullptr ? &input : decompressed.get();
}

/// Null where there is nothing to decompress.
std::unique_ptr<ByteSource> TraceReader::State::decompressor(compression_t compression) {
    if (compression != COMPRESSION_GZIP && compression != COMPRESSION_ZSTD) {
        return nullptr;
    }
    input.stopFollowing();
    const CompressedInput compressed = {window.get(), filled, input, expansionLimit};
    filled = 0;
    try {
        return compression == COMPRESSION_GZIP ? openGzip(compressed) : openZstd(compressed);
    } catch (const std::bad_alloc&) {
        filled = compressed.headLength;
        throw;
    }
}

TraceReader::TraceReader(int fd, const TraceReaderOptions& options)
    : state(std::make_unique<State>(fd, options)) {}

TraceReader::~TraceReader() = default;

bool TraceReader::next(TraceSpan& span) { return state->next(span); }

uint64_t TraceReader::bytesRead() const { return state->input.count(); }

uint64_t TraceReader::ambiguities() const { return state->scanner.ambiguities(); }

framing_t TraceReader::framing() const { return state->scanner.framing(); }
