/// @file
/// What the contenders for text share: a stream or a string that the text goes to, and its outcome.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "cases/text.h"
#include "support/FixedStream.h"

namespace bench {

/// Room for the longest text of any case: the dump of 65536 bytes.
inline constexpr size_t TEXT_ROOM = 3 * 65536;

/// `Print` is called with the stream and the next timestamp.
template <class Print>
class StampToStream {
public:
    explicit StampToStream(const Stamps& _stamps) : stamps(_stamps) {}
    void run() {
        stream.reset();
        print(stream, stamps.next());
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return std::string(stream.text());
    }

private:
    Stamps stamps;
    FixedStream stream{TEXT_ROOM};
    Print print;
};

/// `Print` returns the string.
template <class Print>
class StampToString {
public:
    explicit StampToString(const Stamps& _stamps) : stamps(_stamps) {}
    void run() { benchmark::DoNotOptimize(print(stamps.next())); }
    std::string outcome() { return print(stamps.next()); }

private:
    Stamps stamps;
    Print print;
};

/// `Print` is called with the stream, which shows numbers as two hexadecimal digits, and the bytes.
template <class Print>
class DumpToStream {
public:
    explicit DumpToStream(const byteVec_t& _bytes) : bytes(&_bytes) {
        stream.setf(std::ios_base::hex, std::ios_base::basefield);
        stream.fill('0');
    }
    void run() {
        stream.reset();
        benchmark::DoNotOptimize(bytes);
        print(stream, *bytes);
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return std::string(stream.text());
    }

private:
    const byteVec_t* bytes;
    FixedStream stream{TEXT_ROOM};
    Print print;
};

template <class Print>
class InvalidToStream {
public:
    explicit InvalidToStream(const Messages& _messages) : messages(_messages) {}
    void run() {
        stream.reset();
        print(stream, *messages.next());
        benchmark::ClobberMemory();
    }
    std::string outcome() {
        run();
        return std::string(stream.text());
    }

private:
    Messages messages;
    FixedStream stream{TEXT_ROOM};
    Print print;
};

template <class Print>
class InvalidToString {
public:
    explicit InvalidToString(const Messages& _messages) : messages(_messages) {}
    void run() { benchmark::DoNotOptimize(print(*messages.next())); }
    std::string outcome() { return print(*messages.next()); }

private:
    Messages messages;
    Print print;
};

/// A contender for every case of text: how it prints a timestamp, bytes, and an invalid message.
template <class PrintStamp, class PrintDump, class PrintInvalid>
void addText(const char* name) {
    addStreamStamp<StampToStream<PrintStamp>>(name);
    addStringStamp<StampToString<PrintStamp>>(name);
    addDump<DumpToStream<PrintDump>>(name);
    addStringInvalid<InvalidToString<PrintInvalid>>(name);
    addStreamInvalid<InvalidToStream<PrintInvalid>>(name);
}

}  // namespace bench
