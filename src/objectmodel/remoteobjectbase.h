#pragma once

#include "object.h"
#include "tolvexexport.h"

namespace Tolvex {

// An object that stands for one in another process; its data stays null.
class TOLVEX_EXPORT RemoteObjectBase : public Object
{
public:
    RemoteObjectBase(const Class *type, unsigned int objectId)
        : Object(type, nullptr), m_objectId(objectId)
    {}
    unsigned int objectId() const { return m_objectId; }

private:
    unsigned int m_objectId;
};

} // namespace Tolvex
