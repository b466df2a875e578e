// A timestamp alone does not become a message.
// error: conversion from
#include "libvektrace/SimpleMessage.h"

void caseOfANumber() {
#ifdef FAULT
    const SimpleMessage<MSGID_START> message = timeStamp_t{1};
#else
    const SimpleMessage<MSGID_START> message(timeStamp_t{1});
#endif
}
