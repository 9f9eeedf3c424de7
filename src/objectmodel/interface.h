#pragma once

#include "class.h"
#include "tolvexexport.h"

#include <string>

namespace Tolvex {

// A named facet of a class, registered like any class.
class TOLVEX_EXPORT Interface : public Class
{
public:
    explicit Interface(const std::string &name);
    Interface(const std::string &name, Namespace *nameSpace);

    SharedPtr<Object> convertToInterface(SharedPtr<Object> obj, const QString &name) const override;
    virtual std::string interfaceName() const = 0;
};

} // namespace Tolvex
