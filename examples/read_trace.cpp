/// @file
/// Prints the text of every record of a trace, then how many there were of which type.
///
///     read_trace [--null] FILE
///
/// Shows both policies for records that cannot be decoded: without --null each of them is printed
/// as the InvalidMessage that stands in for it; with --null the library returns null, and what to
/// say about it is the program's affair.

#include <cstdio>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "examples/ethernet/EthernetMessage.h"
#include "examples/trace_file.h"
#include "libvektrace/SimpleMessage.h"

namespace {

struct Arguments {
    bool null = false;
    std::string path;
};

/// False for a command line that is no use.
bool parse(const std::vector<std::string>& words, Arguments& arguments) {
    arguments.null = words.size() == 2 && words[0] == "--null";
    if (words.size() != (arguments.null ? 2U : 1U)) {
        return false;
    }
    arguments.path = words.back();
    return arguments.path.rfind("--", 0) != 0;
}

/// The names of the types that can be decoded; the registry knows no names.
const std::map<msgid_t, const char*>& typeNames() {
    static const std::map<msgid_t, const char*> names = {
        {MSGID_ETHERNET_RX, "ETHERNET"},
        {MSGID_STARTUP, SimpleMessage<MSGID_STARTUP>::messageName},
        {MSGID_DATALOGGINGSTARTED, SimpleMessage<MSGID_DATALOGGINGSTARTED>::messageName},
        {MSGID_DATALOGGINGSTOPPED, SimpleMessage<MSGID_DATALOGGINGSTOPPED>::messageName},
        {MSGID_GETVERSION, SimpleMessage<MSGID_GETVERSION>::messageName},
        {MSGID_GETTIME, SimpleMessage<MSGID_GETTIME>::messageName},
        {MSGID_TIMEJUMP, SimpleMessage<MSGID_TIMEJUMP>::messageName},
        {MSGID_START, SimpleMessage<MSGID_START>::messageName},
        {MSGID_STOP, SimpleMessage<MSGID_STOP>::messageName},
        {MSGID_TRIGGERCLEAR, SimpleMessage<MSGID_TRIGGERCLEAR>::messageName},
        {MSGID_CUSTOMER, SimpleMessage<MSGID_CUSTOMER>::messageName},
    };
    return names;
}

/// How many records there were.
struct Summary {
    std::map<msgid_t, size_t> decoded;
    size_t undecodable = 0;
};

/// The start-up code: it registers the creators and chooses the policy before the first decode.
void setUpLibrary(bool null) {
    MessageBase::registerMessages();
    MessageBase::registerMessage(MSGID_ETHERNET_RX, EthernetMessage::readFromByteArray);
    MessageBase::setInvalidMsgHandling(null ? MessageBase::IMH_RETURN_NULL
                                            : MessageBase::IMH_RETURN_INVALID_MESSAGE);
}

void printRecord(const RecordCursor& cursor, Summary& summary) {
    const std::unique_ptr<MessageBase> message(
        MessageBase::readFromByteArray(cursor.getRecord(), cursor.getLength()));
    if (!message) {
        ++summary.undecodable;
        std::cout << "undecodable record at byte " << cursor.getOffset() << '\n';
        return;
    }
    if (message->getMessageId() == MSGID_INVALID) {
        ++summary.undecodable;
    } else {
        ++summary.decoded[message->getMessageId()];
    }
    message->print(std::cout) << '\n';
}

void printSummary(const Summary& summary, size_t bytes) {
    std::cout << "\nrecords by type\n";
    for (const auto& [id, count] : summary.decoded) {
        const auto name = typeNames().find(id);
        char line[80];
        static_cast<void>(std::snprintf(line, sizeof line, "  0x%04x %-28s %8zu\n",
                                        static_cast<unsigned>(id),
                                        name == typeNames().end() ? "" : name->second, count));
        std::cout << line;
    }
    std::cout << "undecodable: " << summary.undecodable << "\nbytes: " << bytes << '\n';
}

void printTrace(const std::string& path) {
    const byteVec_t trace = readFile(path);
    Summary summary;
    RecordCursor cursor(path, trace);
    while (cursor.next()) {
        printRecord(cursor, summary);
    }
    printSummary(summary, trace.size());
    finishOutput();
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        Arguments arguments;
        if (!parse({argv + 1, argv + argc}, arguments)) {
            std::cerr << "usage: read_trace [--null] FILE\n";
            return 2;
        }
        setUpLibrary(arguments.null);
        printTrace(arguments.path);
        return 0;
    } catch (const std::exception& e) {
        std::cout.flush();
        std::cerr << "read_trace: " << e.what() << '\n';
        return 1;
    }
}
