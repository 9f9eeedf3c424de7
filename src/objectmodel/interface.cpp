#include "interface.h"

#include "object.h"

namespace Tolvex {

Interface::Interface(const std::string &name) : Class(name.c_str(), true) {}

Interface::Interface(const std::string &name, Namespace *nameSpace)
    : Class(name.c_str(), nameSpace, true)
{}

SharedPtr<Object> Interface::convertToInterface(SharedPtr<Object> obj, const QString &name) const
{
    if (obj && obj->isA(this) && name == QString::fromStdString(interfaceName()))
        return obj;
    return nullptr;
}

} // namespace Tolvex
