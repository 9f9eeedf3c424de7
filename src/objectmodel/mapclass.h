#pragma once

#include "containerclass.h"
#include "tolvexexport.h"

#include <QString>

#include <map>
#include <string>

namespace Tolvex {

struct MapClassTraits;

// "Tolvex_Map": objects by string key, filled by plain insertion.
class TOLVEX_EXPORT MapClass
    : public ContainerClass<MapClassTraits, std::map<QString, SharedPtr<Object>>>
{
public:
    MapClass();

    static Argument mapClassArg(const std::string &name) { return classArgument(name); }

    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;

private:
    SharedPtr<Object> invokeOn(int id, Native &entries, const ObjectList &args) const override;
    Method *createMethod(int id) const override;
    Property *createProperty(int id) const override;
};

} // namespace Tolvex
