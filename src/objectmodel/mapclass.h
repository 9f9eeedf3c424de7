#pragma once

#include "argument.h"
#include "class.h"

#include <QString>

#include <map>
#include <string>

namespace Tolvex {

// "Tolvex_Map": objects by string key, filled by plain insertion.
class MapClass : public Class
{
public:
    using Native = std::map<QString, SharedPtr<Object>>;

    MapClass();

    static Argument mapClassArg(const std::string &name);
    static const Class *registeredClass();
    static SharedPtr<Object> wrapObject(const Native &entries);
    static Native unwrapObject(SharedPtr<Object> obj);
    static SharedPtr<Object> createRemoteObject(const Native &entries);
    static Native unwrapRemoteObject(SharedPtr<Object> obj);

    SharedPtr<Object> construct(int id, void **args) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;

private:
    SharedPtr<Object> invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                             const Method *method) const override;
    void initSuperClass() override;
    Constructor *createConstructor(int id) const override;
    Method *createMethod(int id) const override;
    Property *createProperty(int id) const override;
};

} // namespace Tolvex
