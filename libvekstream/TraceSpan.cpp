#include "libvekstream/TraceSpan.h"

const char* gapReasonText(gapReason_t reason) {
    switch (reason) {
        case GAP_NONE:
            return "no gap";
        case GAP_NO_MARKER:
            return "no sync marker";
        case GAP_SIZE_TOO_SMALL:
            return "size too small";
        case GAP_SIZE_BEYOND_END:
            return "size beyond end";
        case GAP_TRUNCATED:
            return "truncated record";
        case GAP_NOT_FOLLOWED:
            return "not followed by a record";
        case GAP_SPANS_RECORDS:
            return "size spans whole records";
        case GAP_IMPLAUSIBLE:
            return "implausible header";
        case GAP_FILLER:
            return "filler";
        case GAP_NUM:
            break;
    }
    return "unknown reason";
}
