#include "valuewrapping.h"

#include "arrayclass.h"
#include "inspector.h"
#include "object.h"

namespace Tolvex {

SharedPtr<Object> wrap(const QList<QString> &strings)
{
    return Inspector::self()->createPrimitive(strings);
}

SharedPtr<Object> wrap(const std::string &text)
{
    return Inspector::self()->createPrimitive(text.c_str());
}

bool unwrap(SharedPtr<Object> obj, QList<QString> *strings)
{
    if (!obj || !obj->data())
        return false;
    const ObjectAttribute a = obj->objectAttribute();
    if (obj->type() == Inspector::self()->type(CharClassId) && a.isPointer() && a.isArray()) {
        char **items = static_cast<char **>(obj->data());
        QList<QString> result;
        for (int i = 0; i < a.arrayLength(); ++i)
            result.append(QString::fromUtf8(items[i]));
        *strings = result;
        return true;
    }
    // An array object of strings, as scripts hand lists over.
    if (obj->isA(ArrayClass::registeredClass())) {
        QList<QString> result;
        for (const SharedPtr<Object> &e : ArrayClass::unwrapObject(obj))
            result.append(e ? e->toString() : QString());
        *strings = result;
        return true;
    }
    return false;
}

bool unwrap(SharedPtr<Object> obj, QString *text)
{
    if (!obj || obj->isNull())
        return false;
    *text = obj->toString();
    return true;
}

bool unwrap(SharedPtr<Object> obj, int *value)
{
    if (!obj || obj->isNull())
        return false;
    *value = obj->toInteger();
    return true;
}

bool unwrap(SharedPtr<Object> obj, std::string *text)
{
    QString s;
    if (!unwrap(obj, &s))
        return false;
    *text = s.toStdString();
    return true;
}

} // namespace Tolvex
