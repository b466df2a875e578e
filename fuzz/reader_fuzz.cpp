// Any bytes as a file or a pipe that is read: what the reader yields equals what the scanner makes
// of the same bytes, or of what zlib and libzstd make of them when they are compressed; where that
// fails, everything in front of the failure is yielded first.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>

#include "fuzz/support/Script.h"
#include "libvekstream/TraceReader.h"
#include "libvekstream/scanner/scan.h"

#ifdef FUZZ_WITH_ZLIB
#define ZLIB_CONST
#include <zlib.h>
#endif
#ifdef FUZZ_WITH_ZSTD
#include <zstd.h>
#endif

namespace {

/// What expands beyond this is looked at no further.
constexpr size_t ENOUGH = size_t{1} << 20;

/// The bytes of a trace, and whether all of the file could be read.
struct Content {
    byteVec_t bytes;
    bool whole = true;
    /// Of the bytes in front of a failure this many may be missing, as they are given block by block.
    size_t block = 0;
};

// ---- Compressed input, decompressed a byte at a time -------------------------------------------

#ifdef FUZZ_WITH_ZLIB

Content gunzip(const byteVec_t& file) {
    static z_stream stream = [] {
        z_stream fresh = {};
        require(inflateInit2(&fresh, MAX_WBITS + 16) == Z_OK, "there is memory");
        return fresh;
    }();
    Content content;
    byteVec_t part(ENOUGH / 16);
    inflateReset(&stream);
    stream.next_in = file.data();
    stream.avail_in = static_cast<uInt>(file.size());
    int status = Z_OK;
    while (status == Z_OK && content.bytes.size() <= ENOUGH) {
        stream.next_out = part.data();
        stream.avail_out = static_cast<uInt>(part.size());
        status = inflate(&stream, Z_SYNC_FLUSH);
        content.bytes.insert(content.bytes.end(), part.data(), stream.next_out);
        if (status == Z_STREAM_END) {
            for (; stream.avail_in > 0 && *stream.next_in == 0; --stream.avail_in) {
                ++stream.next_in;
            }
            status = stream.avail_in > 0 ? inflateReset(&stream) : status;
        }
    }
    content.whole = status == Z_STREAM_END;
    return content;
}

byteVec_t gzipped(const byteVec_t& plain) {
    static z_stream stream = [] {
        z_stream fresh = {};
        require(deflateInit2(&fresh, 1, Z_DEFLATED, MAX_WBITS + 16, 1, Z_DEFAULT_STRATEGY) == Z_OK,
                "there is memory");
        return fresh;
    }();
    deflateReset(&stream);
    byteVec_t result(deflateBound(&stream, static_cast<uLong>(plain.size())));
    stream.next_in = plain.data();
    stream.avail_in = static_cast<uInt>(plain.size());
    stream.next_out = result.data();
    stream.avail_out = static_cast<uInt>(result.size());
    require(deflate(&stream, Z_FINISH) == Z_STREAM_END, "the bound is none");
    result.resize(result.size() - stream.avail_out);
    return result;
}

#endif
#ifdef FUZZ_WITH_ZSTD

Content unzstd(const byteVec_t& file) {
    // A new one each time: what one has kept of a frame before lets it go on beyond the length that a
    // later frame has.
    const std::unique_ptr<ZSTD_DStream, decltype(&ZSTD_freeDStream)> owner(ZSTD_createDStream(),
                                                                           &ZSTD_freeDStream);
    ZSTD_DStream* const stream = owner.get();
    ZSTD_DCtx_setParameter(stream, ZSTD_d_windowLogMax, 23);
    Content content;
    byteVec_t part(ENOUGH / 16);
    size_t wanted = 0;
    for (size_t done = 0; done < file.size() && content.bytes.size() <= ENOUGH; ++done) {
        ZSTD_inBuffer in = {&file[done], 1, 0};
        for (bool full = true; full || in.pos < in.size;) {
            ZSTD_outBuffer out = {part.data(), part.size(), 0};
            wanted = ZSTD_decompressStream(stream, &out, &in);
            if (ZSTD_isError(wanted) != 0) {
                content.whole = false;
                content.block = size_t{128} << 10;
                return content;
            }
            content.bytes.insert(content.bytes.end(), part.data(), part.data() + out.pos);
            // Behind its last byte a frame has nothing more to give: asked again, the next would begin.
            full = wanted > 0 && out.pos == out.size;
        }
    }
    content.whole = wanted == 0;
    return content;
}

byteVec_t zstdCompressed(const byteVec_t& plain) {
    static ZSTD_CCtx* const context = ZSTD_createCCtx();
    byteVec_t result(ZSTD_compressBound(plain.size()));
    result.resize(
        ZSTD_compressCCtx(context, result.data(), result.size(), plain.data(), plain.size(), 1));
    return result;
}

#endif

bool looksGzipped(const byteVec_t& file) {
    return file.size() >= 4 && file[0] == 0x1f && file[1] == 0x8b && file[2] == 8 && file[3] < 32;
}

bool looksZstd(const byteVec_t& file) {
    const auto begins = [&](uint8_t a, uint8_t b, uint8_t c, uint8_t d) {
        return file.size() >= 4 && file[0] == a && file[1] == b && file[2] == c && file[3] == d;
    };
    return begins(0x28, 0xb5, 0x2f, 0xfd) ||
           (!file.empty() && file[0] / 16 == 5 && begins(file[0], 0x2a, 0x4d, 0x18));
}

/// A build without the library fails before the first byte.
Content contentOf(const byteVec_t& file) {
    if (looksGzipped(file)) {
#ifdef FUZZ_WITH_ZLIB
        return gunzip(file);
#else
        return {{}, false, 0};
#endif
    }
    if (looksZstd(file)) {
#ifdef FUZZ_WITH_ZSTD
        return unzstd(file);
#else
        return {{}, false, 0};
#endif
    }
    return {file, true, 0};
}

/// What a script makes of its rest: the bytes as they are, or compressed and then cut or spoilt.
byteVec_t fileOf(Script& script) {
    const uint8_t kind = script.byte();
    const size_t cut = script.byte();
    byteVec_t file = script.rest();
    if (kind % 4 == 2) {
#ifdef FUZZ_WITH_ZLIB
        file = gzipped(file);
#endif
    } else if (kind % 4 == 3) {
#ifdef FUZZ_WITH_ZSTD
        file = zstdCompressed(file);
#endif
    }
    if (kind % 4 >= 2 && (kind & 4) != 0) {
        file.resize(file.size() - std::min(file.size(), cut));
    } else if (kind % 4 >= 2 && (kind & 8) != 0 && !file.empty()) {
        file[cut % file.size()] ^= static_cast<uint8_t>(kind >> 4);
    }
    return file;
}

// ---- What is read ------------------------------------------------------------------------------

class Source {
public:
    /// A file in memory that is written again each time.
    static int file(const byteVec_t& content) {
        static const int fd = ::memfd_create("fuzz", MFD_CLOEXEC);
        require(::ftruncate(fd, 0) == 0 && ::lseek(fd, 0, SEEK_SET) == 0, "there is a file");
        write(fd, content);
        require(::lseek(fd, 0, SEEK_SET) == 0, "it is read from its beginning");
        return fd;
    }
    /// A pipe that holds all of the content and that nobody writes to any more. The caller closes it.
    static int pipe(const byteVec_t& content) {
        int ends[2];
        require(::pipe(ends) == 0, "there is a pipe");
        write(ends[1], content);
        ::close(ends[1]);
        return ends[0];
    }

private:
    static void write(int fd, const byteVec_t& content) {
        require(content.empty() || ::write(fd, content.data(), content.size()) ==
                                       static_cast<ssize_t>(content.size()),
                "it takes all bytes");
    }
};

bool isBeginning(const byteVec_t& part, const byteVec_t& whole) {
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

struct Reading {
    std::vector<TraceSpan> spans;  ///< without their bytes
    byteVec_t bytes;
    bool failed = false;
    bool left = false;  ///< before the end, as it was enough
    uint64_t taken = 0;
};

Reading readAll(int fd, const TraceReaderOptions& options) {
    TraceReader reader(fd, options);
    Reading reading;
    try {
        for (TraceSpan span; !reading.left && reader.next(span);) {
            reading.bytes.insert(reading.bytes.end(), span.data, span.data + span.length);
            span.data = nullptr;
            reading.spans.push_back(span);
            reading.left = reading.bytes.size() > ENOUGH;
        }
    } catch (const TraceException& e) {
        reading.failed = true;
        require(e.offset() == reading.bytes.size(), "it fails behind all that was read");
        require(e.error() == 0 && *e.what() != '\0', "it fails for a reason of its own");
    }
    reading.taken = reader.bytesRead();
    return reading;
}

std::vector<TraceSpan> scanned(const byteVec_t& content, const TraceReaderOptions& options) {
    RecordScanner scanner(options.framing, options.rule);
    scanner.setInput(content.data(), content.size());
    std::vector<TraceSpan> spans;
    for (TraceSpan span; scanner.next(span);) {
        spans.push_back(span);
    }
    return spans;
}

void compare(Reading& reading, const byteVec_t& file, const TraceReaderOptions& options) {
    const Content content = contentOf(file);
    if (reading.left || content.bytes.size() > ENOUGH) {
        require(
            isBeginning(reading.bytes, content.bytes) || isBeginning(content.bytes, reading.bytes),
            "the bytes are those of the input");
        return;
    }
    require(reading.failed == !content.whole, "it fails where the input is not whole");
    require(isBeginning(reading.bytes, content.bytes), "the bytes are those of the input");
    require(content.bytes.size() - reading.bytes.size() <= content.block, "nothing is left out");
    require(reading.failed || reading.taken == file.size(), "all of the input is taken");
    for (TraceSpan& span : reading.spans) {
        span.data = reading.bytes.data() + span.offset;
    }
    const char* const broken = brokenLaw(reading.bytes.data(), reading.bytes.size(), reading.spans);
    require(broken == nullptr, broken);
    if (!options.follow) {
        require(same(reading.spans, scanned(reading.bytes, options)),
                "the spans are those of the scanner");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Script script(data, size);
    const uint8_t choice = script.byte();
    TraceReaderOptions options;
    options.framing = static_cast<framing_t>(choice % 3);
    options.rule = (choice & 4) != 0 ? RULE_PREFER_CHAIN : RULE_TRUST_SIZES;
    options.follow = (choice & 24) == 24;
    const bool piped = (choice & 8) != 0;
    const byteVec_t file = fileOf(script);
    const int fd = piped ? Source::pipe(file) : Source::file(file);
    Reading reading = readAll(fd, options);
    if (piped) {
        ::close(fd);
    }
    compare(reading, file, options);
    return 0;
}
