/// @file
/// What the example programs share: whole files, and the records of a trace.
///
/// A trace is a sequence of records. The first one decides whether every record of the trace
/// follows a sync marker or none does.
///
/// Failures are std::runtime_error, whose text names the file and the reason.
#pragma once

#include <string>

#include "libvektrace/MessageBase.h"

/// What trace files are named.
inline constexpr char TRACE_SUFFIX[] = ".vkt";

byteVec_t readFile(const std::string& path);

/// Writes `path` as a whole or not at all: beside it first, then renamed. An existing regular file
/// is replaced; anything else of that name (a device, a folder, a link) is refused. So is a name
/// without TRACE_SUFFIX, so that a mixed-up command line cannot cost the user another file.
void writeTraceFile(const std::string& path, const byteVec_t& trace);

/// Flushes the standard output, and throws when anything written to it got lost.
void finishOutput();

/// Appends the encoded record with its sync marker.
void appendRecord(byteVec_t& trace, const MessageBase& message);

/// Goes through a trace record by record.
class RecordCursor {
public:
    /// Both are kept by reference and must outlive the cursor; `path` is for error texts only.
    RecordCursor(const std::string& _path, const byteVec_t& _trace);

    /// Steps to the next record, at first to the first one; false behind the last one. Throws
    /// where no whole record begins. The functions below are about the record stepped to.
    bool next();

    /// Where it begins in the trace, marker included.
    size_t getOffset() const { return offset; }
    /// Its size field; a marker lies before it.
    const uint8_t* getRecord() const { return trace.data() + begin; }
    /// Its length without marker.
    size_t getLength() const { return end - begin; }

private:
    bool startsWithMarker(size_t position) const;
    /// What the size field at `position` holds, once so many bytes are known to follow it.
    size_t checkedSize(size_t position) const;
    [[noreturn]] void fail(const std::string& reason) const;

    const std::string& path;
    const byteVec_t& trace;
    const bool marked;  ///< whether the records follow sync markers
    size_t offset = 0;
    size_t begin = 0;
    size_t end = 0;
};
