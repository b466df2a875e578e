/// @file
/// Divides the bytes of a trace into records and gaps, so that every byte is accounted for.
///
/// A trace is a sequence of header version 1 records, each with a sync marker in front (marked) or
/// none of them (unmarked). The scanner yields spans that tile the input exactly, whatever the bytes
/// are; it throws nothing because of them, allocates nothing once it is made and reads no byte outside
/// of the input.
///
/// docs/recovery.md tells the rules by which damaged input is divided, and how well they do.
///
/// Threads: one scanner is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "libvekstream/TraceSpan.h"

/// Whether records have a sync marker in front.
enum framing_t : int {
    FRAMING_DETECT = 0,    ///< by the first bytes that can be told
    FRAMING_MARKED = 1,    ///< all have one
    FRAMING_UNMARKED = 2,  ///< none has
};

/// What becomes of a marked record in which whole marked records follow each other: at least two, of
/// which the last ends where it ends, or at least eight. Either its size field is damaged, or it
/// really carries them.
enum sizeRule_t : int {
    RULE_TRUST_SIZES = 0,   ///< it is a record: for reading
    RULE_PREFER_CHAIN = 1,  ///< they are records, and it is a gap: for recovery
};

/// Divides bytes in memory: setInput gives them, next takes one span after the other.
class VEK_EXPORT RecordScanner {
public:
    /// What comes behind the bytes that were given.
    enum inputEnd_t : int {
        INPUT_CONTINUES = 0,  ///< more, which is waited for where it decides
        INPUT_PAUSES = 1,     ///< more, but perhaps much later: a record that ends here is one
        INPUT_ENDS = 2,       ///< nothing
    };

    /// The longest record: 65535 bytes behind the size field, with a marker in front.
    static constexpr size_t MAX_RECORD =
        sizeof MessageBase::SYNC_MARKER + MessageBase::MO_MSGID + 0xffff;
    /// The longest gap span; a longer gap is divided into several.
    static constexpr size_t MAX_GAP = 0x20000;
    /// With as many bytes from position() on, next() never asks for more.
    static constexpr size_t MAX_LOOKAHEAD = MAX_GAP + 4 * MAX_RECORD;

    /// Identifiers that are registered by now count as known, beside those of the catalogue.
    explicit RecordScanner(framing_t framing = FRAMING_DETECT, sizeRule_t rule = RULE_TRUST_SIZES);
    ~RecordScanner();
    /// The one that was moved from can only be assigned to or destroyed.
    /// @{
    RecordScanner(RecordScanner&& other) noexcept;
    RecordScanner& operator=(RecordScanner&& other) noexcept;
    /// @}

    /// The bytes from position() on, in memory that stays while spans are taken from it; null where
    /// there are none. May be called again at any time, with the same bytes and more, never with
    /// fewer; after INPUT_ENDS only with those that are left, and with INPUT_ENDS.
    void setInput(const uint8_t* data, size_t length, inputEnd_t end = INPUT_ENDS);

    /// Takes the next span. False: `span` is untouched; at INPUT_ENDS there is none any more, else
    /// more bytes are needed. How the input was divided among the calls of setInput has no part in
    /// the result, unless it paused.
    bool next(TraceSpan& span);

    /// Offset of the first byte that is in no span yet, from the beginning of the input.
    uint64_t position() const;
    /// Records and gaps that can be read in two ways, whichever was chosen.
    uint64_t ambiguities() const;
    /// FRAMING_DETECT as long as it is not known.
    framing_t framing() const;

private:
    struct VEK_HIDDEN State;
    std::unique_ptr<State> state;
};
