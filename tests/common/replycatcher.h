#pragma once

#include "argumentlist.h"
#include "eventloop.h"
#include "functioncallresult.h"

namespace TestSupport {

// The listener of one call that keeps what it hears: whether an answer came,
// how many came (a listener must hear one at most), and the last one.
template <typename T = Tolvex::ArgumentList> struct ReplyCatcher : Tolvex::ResponseListener<T>
{
    bool answered = false;
    int calls = 0;
    Tolvex::FunctionCallResult<T> result;

    void response(Tolvex::FunctionCallResult<T> r) override
    {
        answered = true;
        ++calls;
        result = std::move(r);
    }

    // Runs the event loop until the answer is in; false when it does not come
    // within timeoutMs.
    bool waitForAnswer(int timeoutMs = 5000)
    {
        return waitUntil([this] { return answered; }, timeoutMs);
    }
};

} // namespace TestSupport
