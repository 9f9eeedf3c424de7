#pragma once

#include "class.h"
#include "tolvexexport.h"

namespace Tolvex {

// A class that stands for one in another process: it has no name, no
// namespace and is never registered here.
class TOLVEX_EXPORT RemoteClassBase : public Class
{
public:
    explicit RemoteClassBase(int applicationContextId)
        : m_applicationContextId(applicationContextId)
    {}
    int applicationContextId() const { return m_applicationContextId; }

private:
    int m_applicationContextId;
};

} // namespace Tolvex
