#include "cases/text.h"

#include <memory>

#include "cases/Fields.h"
#include "cases/bytes.h"

namespace bench {

namespace {

std::vector<timeStamp_t> randomStamps(size_t count) {
    constexpr timeStamp_t END = (timeStamp_t{1} << 32) * 1000000;
    std::mt19937_64 random;  // NOLINT(cert-msc*): the same in every run
    std::vector<timeStamp_t> result(count);
    for (timeStamp_t& stamp : result) {
        stamp = random() % END;
    }
    return result;
}

std::vector<const InvalidMessage*> makeInvalidMessages() {
    static std::vector<std::unique_ptr<InvalidMessage>> owned;
    std::vector<const InvalidMessage*> messages;
    for (const timeStamp_t stamp : randomStamps(16)) {
        const byteVec_t record = recordOf({0x1285, 0, stamp, randomBytes(8)});
        owned.push_back(std::make_unique<InvalidMessage>(record.data(), record.size()));
        messages.push_back(owned.back().get());
    }
    return messages;
}

}  // namespace

const Stamps& stamps() {
    static const Stamps all(randomStamps(256));
    return all;
}

const std::vector<DumpCase>& dumpCases() {
    static const std::vector<DumpCase> cases = {
        {"dump, 8 bytes", randomBytes(8)},
        {"dump, 64 bytes", randomBytes(64)},
        {"dump, 1400 bytes", randomBytes(1400)},
        {"dump, 65536 bytes", randomBytes(65536)},
    };
    return cases;
}

const Messages& invalidMessages() {
    static const Messages all(makeInvalidMessages());
    return all;
}

}  // namespace bench
