// Registers a creator that lives in a plugin: what it throws there is caught in the library.
#include <dlfcn.h>

#include <memory>
#include <typeinfo>

#include "check.h"
#include "libvektrace/MessageBase.h"

namespace {

template <class Function>
Function symbolOf(void* plugin, const char* name) {
    return reinterpret_cast<Function>(dlsym(plugin, name));
}

const byteVec_t RECORD = {0, 12, 0x80, 0x08, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

std::unique_ptr<MessageBase> decode() {
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(RECORD.data(), RECORD.size()));
}

}  // namespace

int main(int argc, char** argv) {
    void* const plugin = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (plugin == nullptr) {
        std::cerr << "no plugin: " << (argc == 2 ? dlerror() : "no argument") << '\n';
        return 1;
    }

    // Runtimes that compare names instead of addresses would hide that there are two of them.
    const auto typeOfException = symbolOf<const std::type_info* (*)()>(plugin, "typeOfException");
    CHECK_EQUAL(typeOfException(), &typeid(InvalidMessageException));

    MessageBase::registerMessage(MSGID_PING, symbolOf<pCreatorFunction>(plugin, "createOrThrow"));
    CHECK_EQUAL(decode(), nullptr);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const auto message = decode();
    const auto* invalid = dynamic_cast<const InvalidMessage*>(message.get());
    CHECK_EQUAL(invalid != nullptr, true);
    CHECK_EQUAL(invalid->getInvalidEnumValue(), 7);
    CHECK_EQUAL(invalid->getInvalidEnumDescription(), "colour");
    return consumer::result();
}
