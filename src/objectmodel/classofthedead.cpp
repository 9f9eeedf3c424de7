#include "classofthedead_p.h"

#include "namespace.h"

namespace Tolvex {

ClassOfTheDead::ClassOfTheDead()
    : Class("Dead", new Namespace(Namespace::Detached, QString()), false)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

const ClassOfTheDead *ClassOfTheDead::instance()
{
    // A function-local static is created once even under concurrent callers.
    static const ClassOfTheDead *dead = new ClassOfTheDead;
    return dead;
}

} // namespace Tolvex
