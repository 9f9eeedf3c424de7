#pragma once

#include "argument.h"
#include "class.h"
#include "tolvexexport.h"

#include <string>

namespace Tolvex {

class ObjectList;
class Signature;

// The common form of the classes whose native data is a container of
// objects ("Tolvex_Array", "Tolvex_Map"): no superclass, one constructor
// without arguments, the property "length" as id 0, and a value in two
// forms. The local form is an object around a copy of the container; the
// remote form is built and read through the members of whatever class has
// the name, so that it works where the name stands for a class in another
// process.
//
// Traits says what differs: the model name (`ModelName`), the method that
// adds one element (`AddMethodName`) with its arguments for an element
// (`ObjectList addArguments(const NativeT::value_type &)`), and how the
// remote form is read, given the remote class's "at" methods
// (`void readRemote(SharedPtr<Object>, const MethodList &, NativeT *)`).
template <typename Traits, typename NativeT> class TOLVEX_EXPORT ContainerClass : public Class
{
public:
    using Native = NativeT;

    // Looked up by name each time: where the name stands for a remote
    // class, the remote forms go through the connection.
    static const Class *registeredClass();
    // An argument of this class, for signatures.
    static Argument classArgument(const std::string &name);
    static SharedPtr<Object> wrapObject(const Native &elements);
    static Native unwrapObject(SharedPtr<Object> obj);
    static SharedPtr<Object> createRemoteObject(const Native &elements);
    static Native unwrapRemoteObject(SharedPtr<Object> obj);

    SharedPtr<Object> construct(int id, void **args) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;

protected:
    static constexpr int LengthId = 0;

    ContainerClass(int numMethods, int numProperties);

    // A method of the class, by its id relative to the class, called on the
    // container once the call has passed the checks of any method call.
    virtual SharedPtr<Object> invokeOn(int id, Native &elements, const ObjectList &args) const = 0;
    // A method that takes any objects as parameters and returns any object.
    Method *newMethod(const QString &name, const Signature &signature, int id) const;
    Property *createProperty(int id) const override;

private:
    SharedPtr<Object> invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                             const Method *method) const override;
    Constructor *createConstructor(int id) const override;

    static inline const ContainerClass *s_local = nullptr;
};

} // namespace Tolvex
