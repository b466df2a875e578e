// A plugin, compiled with hidden symbols and loaded without sharing those it has.
#include <typeinfo>

#include "libvektrace/MessageBase.h"

#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

PLUGIN_EXPORT MessageBase* createOrThrow(const uint8_t* record, size_t len);
PLUGIN_EXPORT const std::type_info* typeOfException();

PLUGIN_EXPORT MessageBase* createOrThrow(const uint8_t* /*record*/, size_t /*len*/) {
    throw InvalidMessageException(IM_INVALID_ENUM_VALUE, "colour", 7);
}

PLUGIN_EXPORT const std::type_info* typeOfException() { return &typeid(InvalidMessageException); }
