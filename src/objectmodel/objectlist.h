#pragma once

#include "object.h"
#include "shared.h"
#include "tolvexexport.h"

#include <QtGlobal>

#include <initializer_list>
#include <vector>

namespace Tolvex {

// The argument and result lists of the model. at() asserts instead of
// throwing: no exception may leave the object model.
class TOLVEX_EXPORT ObjectList : public std::vector<SharedPtr<Object>>
{
public:
    using std::vector<SharedPtr<Object>>::vector;

    SharedPtr<Object> &at(size_type i)
    {
        Q_ASSERT(i < size());
        return (*this)[i];
    }
    const SharedPtr<Object> &at(size_type i) const
    {
        Q_ASSERT(i < size());
        return (*this)[i];
    }
    ObjectList &operator<<(const SharedPtr<Object> &o)
    {
        push_back(o);
        return *this;
    }
};

} // namespace Tolvex
