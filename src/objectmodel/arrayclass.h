#pragma once

#include "containerclass.h"
#include "tolvexexport.h"

#include <string>
#include <vector>

namespace Tolvex {

struct ArrayClassTraits;

// "Tolvex_Array": a dynamic array of objects, for values that scripts pass
// as lists.
class TOLVEX_EXPORT ArrayClass
    : public ContainerClass<ArrayClassTraits, std::vector<SharedPtr<Object>>>
{
public:
    ArrayClass();

    static Argument arrayClassArg(const std::string &name) { return classArgument(name); }

private:
    SharedPtr<Object> invokeOn(int id, Native &elements, const ObjectList &args) const override;
    Method *createMethod(int id) const override;
};

} // namespace Tolvex
