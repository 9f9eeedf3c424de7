#pragma once

// What FSocket's operations make of a platform error. The mapping is data:
// one table per operation (in fsocket.cpp), consulted by ruleFor.

#include "fsocket.h"
#include "fsocketplatform_p.h"

namespace FSocketErrors {

enum class Operation {
    Create,
    BlockingConnect,
    NonBlockingConnect,
    // The error a non-blocking connect left pending on the socket.
    PendingConnect,
    Bind,
    Listen,
    Accept,
    Read,
    Write,
    Wait,
};

enum class Outcome {
    // The rule's condition is set and the operation fails.
    Fail,
    // The operation fails and sets no condition (would-block and the like).
    FailQuietly,
    // Counts as success: a connect in progress or already under way.
    Succeed,
    // A connect that had already happened: success, and the addresses are read.
    Connected,
    // Interrupted: the call is made again at once.
    Retry,
    // No bytes moved, and the socket stays open.
    NothingMoved,
    // The connection is gone: the socket is closed and no bytes moved.
    Closed,
    // Out of buffer space: try again with half as much, give up under 128 bytes.
    ShrinkAndRetry,
};

struct Rule
{
    FSocketPlatform::Err error;
    Outcome outcome;
    FSocket::ErrorCondition condition;
};

const Rule &ruleFor(Operation operation, FSocketPlatform::Err error);

} // namespace FSocketErrors
