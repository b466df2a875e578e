#include "SimpleMessage_user.h"

template <>
const char SimpleMessage<MSGID_PING>::messageName[] = "PING";
