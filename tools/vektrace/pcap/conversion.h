/// @file
/// Traces as captures and back. A build without libpcap has these too, and they say so.
#pragma once

#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/output.h"

namespace vek::program {

/// Makes one capture of the records of all inputs, each of which becomes a packet with its marker.
/// Gaps are told to the session as lost. Throws Failure where a record's time does not fit.
void exportCapture(const InputOptions& inputs, const OutputOptions& options, Session& session);

/// Makes one trace of the packets of all inputs. Packets that are no whole record, and times that
/// are not the record's, are told to the session as lost.
void importCapture(const InputOptions& inputs, const OutputOptions& options, Session& session);

}  // namespace vek::program
