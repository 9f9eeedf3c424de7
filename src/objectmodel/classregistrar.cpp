#include "classregistrar.h"

namespace Tolvex {

int ClassRegistrar::s_depth = 0;
ClassRegistrar::BatchHandler ClassRegistrar::s_handler = nullptr;

ClassRegistrar::ClassRegistrar()
{
    ++s_depth;
}

ClassRegistrar::~ClassRegistrar()
{
    if (--s_depth == 0 && s_handler)
        s_handler();
}

int ClassRegistrar::depth()
{
    return s_depth;
}

void ClassRegistrar::setBatchHandler(BatchHandler handler)
{
    s_handler = handler;
}

} // namespace Tolvex
