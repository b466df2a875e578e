/// @file
/// Reads a trace from a file, a pipe or a growing file, plain or compressed, in bounded memory.
///
/// However long the trace is, that is less than 1 MiB: a window of 768 KiB, about 16 KiB for the scanner
/// and for compressed input 64 KiB of that. What zlib and libzstd take comes on top: the one about
/// 40 KiB, the other what the frame asks for, with a window of up to 8 MiB.
///
/// Threads: one reader is used by one thread at a time. Only the flag of TraceReaderOptions::stop
/// may be set from elsewhere, also from a signal handler.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "libvekstream/RecordScanner.h"
#include "libvekstream/TraceException.h"

/// How a TraceReader reads.
struct TraceReaderOptions {
    /// Passed on to the RecordScanner.
    /// @{
    framing_t framing = FRAMING_DETECT;
    sizeRule_t rule = RULE_TRUST_SIZES;
    /// @}
    /// At the end of a file wait for more, until `stop` says otherwise, and do not let a whole record
    /// wait for what comes behind it. A pipe ends when nobody can write to it any more. Compressed
    /// input is not followed.
    bool follow = false;
    /// Where not null: once it is true the input ends where it is. It is looked at before every read,
    /// when a signal interrupts one, and now and then while there is nothing to read. It must outlive the
    /// reader.
    const std::atomic<bool>* stop = nullptr;
    /// How many times as long as its compressed form input may be, from 16 MiB on; 0: any. A
    /// protection against input that is made to fill the storage or the time of its reader.
    uint64_t expansionLimit = 0x8000;
};

/// Whether this build reads input compressed so.
/// @{
VEK_EXPORT bool canReadGzip();
VEK_EXPORT bool canReadZstd();
/// @}

/// Reads a trace span by span.
class VEK_EXPORT TraceReader {
public:
    /// Reads from where `fd` stands, but nothing before next(): any descriptor that can be read. It stays
    /// the caller's and open. Throws only std::bad_alloc.
    explicit TraceReader(int fd, const TraceReaderOptions& options = TraceReaderOptions());
    ~TraceReader();
    TraceReader(const TraceReader&) = delete;
    TraceReader& operator=(const TraceReader&) = delete;

    /// Takes the next span, whose bytes are valid until the next call. False at the end.
    ///
    /// Throws TraceException when reading or decompressing fails, but not before everything that was
    /// read up to there was taken as spans. Offsets count bytes of the trace, not compressed ones.
    bool next(TraceSpan& span);

    /// Bytes taken from `fd`, compressed ones where it is.
    uint64_t bytesRead() const;
    /// Those of the RecordScanner.
    /// @{
    uint64_t ambiguities() const;
    framing_t framing() const;
    /// @}

private:
    struct VEK_HIDDEN State;
    std::unique_ptr<State> state;
};
