#pragma once

#include "tolvexexport.h"

namespace Tolvex {

// Scope guard around a batch of class creation: the batch is announced once,
// when the outermost guard ends, instead of once per class.
class TOLVEX_EXPORT ClassRegistrar
{
public:
    // Called when the outermost guard ends. The Hook installs it while it
    // exists and sends the classes not yet sent.
    using BatchHandler = void (*)();

    ClassRegistrar();
    ~ClassRegistrar();
    ClassRegistrar(const ClassRegistrar &) = delete;
    ClassRegistrar &operator=(const ClassRegistrar &) = delete;

    static int depth();
    static void setBatchHandler(BatchHandler handler);

private:
    static int s_depth;
    static BatchHandler s_handler;
};

} // namespace Tolvex
