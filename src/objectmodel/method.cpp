#include "method.h"

#include "class.h"
#include "enum.h"
#include "inspector.h"
#include "logging.h"
#include "memberresolution_p.h"
#include "object.h"
#include "objectlist.h"
#include "streamlimits_p.h"

namespace Tolvex {

Method::Method(const Class *type, const Argument &returnType, const QString &name,
               const Signature &signature, int id, bool isStatic)
    : m_type(type), m_returnType(returnType), m_name(name), m_signature(signature),
      m_isStatic(isStatic), m_id(id)
{}

SharedPtr<Object> Method::invoke(SharedPtr<Object> self, const ObjectList &args) const
{
    if (!verifyMethodInvocation(self, this) || !m_type)
        return nullptr;
    return m_type->invoke(m_id, self, args, this);
}

// Listings keep this form as it always was: no blank before "&" and "*",
// and " const" ahead of the array part, unlike Signature.
QString returnTypeText(const Argument &type, bool withEnumerator)
{
    if (!type.type())
        return QString();
    QString text;
    if (type.isConst1())
        text += QLatin1String("const ");
    text += type.type()->className();
    if (withEnumerator && type.enumerator())
        text += QLatin1String("::") + type.enumerator()->name();
    if (type.isReference())
        text += QLatin1Char('&');
    if (type.isPointer())
        text += QLatin1Char('*');
    if (type.isConst2())
        text += QLatin1String(" const");
    if (type.isArray())
        text += QLatin1String(" [") + QString::number(type.arrayLength()) + QLatin1Char(']');
    return text;
}

QString Method::toString() const
{
    return returnTypeText(m_returnType, true) + QLatin1Char(' ') + m_name + m_signature.toString();
}

void Method::writeObject(QDataStream &stream) const
{
    stream << m_name << (m_type ? m_type->className() : QString());
    m_returnType.writeObject(stream);
    stream << qint32(m_id) << qint32(m_isStatic ? 1 : 0);
    m_signature.writeObject(stream);
    stream << m_deprecationMessage;
}

void Method::readObject(QDataStream &stream)
{
    m_name = readString(stream);
    const QString className = readString(stream);
    m_type = className.isEmpty() ? nullptr : Inspector::self()->type(className);
    m_returnType.readObject(stream);
    m_id = readInt(stream);
    m_isStatic = readInt(stream) != 0;
    m_signature.readObject(stream);
    m_deprecationMessage = readString(stream);
}

bool matchArguments(const Signature &signature, const ObjectList &args, ObjectList *out,
                    bool convert)
{
    size_t i = 0;
    for (const Argument &parameter : signature) {
        if (i >= args.size())
            return false;
        const SharedPtr<Object> &a = args[i++];
        if (!a)
            return false;
        // Class void in a signature stands for any object.
        const Class *target = parameter.type();
        if ((target && target->id() == VoidClassId) || a->isA(target)) {
            *out << a;
            continue;
        }
        const bool pointer = a->objectAttribute().isPointer();
        if (convert && a->type() &&
            a->type()->canConvertTo(target, pointer, parameter.isPointer(), nullptr)) {
            if (SharedPtr<Object> converted =
                    a->type()->convertTo(a, target, parameter.isPointer()))
                *out << converted;
            continue;
        }
        return false;
    }
    return true;
}

SharedPtr<Object> MethodList::invoke(SharedPtr<Object> self, const ObjectList &args,
                                     bool *found) const
{
    if (isEmpty()) {
        Inspector::self()->setError(QStringLiteral("Function not available"));
        return nullptr;
    }
    for (const Method *m : *this) {
        if (size_t(m->numArguments()) != args.size())
            continue;
        ObjectList list;
        if (!matchArguments(m->signature(), args, &list, true))
            continue;
        if (found)
            *found = true;
        return m->invoke(self, list);
    }
    if (found)
        *found = false;
    Inspector::self()->setError(QStringLiteral("Found no matching overload"));
    return nullptr;
}

bool MethodList::invoke(SharedPtr<Object> self, const ObjectList &args,
                        SharedPtr<Object> *result) const
{
    if (isEmpty()) {
        Inspector::self()->setError(QStringLiteral("Function not available"));
        return false;
    }
    const Method *m = methodForArguments(args);
    if (!m) {
        Inspector::self()->setError(QStringLiteral("Found no matching overload"));
        return false;
    }
    SharedPtr<Object> r = m->invoke(self, args);
    if (result)
        *result = r;
    return true;
}

const Method *MethodList::methodForArguments(const ObjectList &args) const
{
    for (const Method *m : *this) {
        if (size_t(m->numArguments()) != args.size())
            continue;
        ObjectList list;
        if (matchArguments(m->signature(), args, &list, false))
            return m;
    }
    return nullptr;
}

bool verifyMethodInvocation(SharedPtr<Object> self, const Method *method)
{
    QString error;
    if (self && self->isNull() && !method->isStatic())
        error = QStringLiteral("Cannot invoke member function %1() on null object reference");
    else if (self && !self->isValid())
        error =
            QStringLiteral("Cannot invoke member function %1() on invalidated object reference");
    else if (!self && !method->isStatic())
        error = QStringLiteral("Cannot invoke non-static function %1() without a object reference");
    if (error.isEmpty())
        return true;
    Inspector::self()->setError(error.arg(method->name()));
    return false;
}

bool verifyMethodArgumentCount(const QString &className, const Method *method,
                               const ObjectList &args)
{
    if (size_t(method->numArguments()) == args.size())
        return true;
    const QString message = QStringLiteral("Class::invoke %1::%2: %3 arguments expected, %4 given")
                                .arg(className)
                                .arg(method->id())
                                .arg(method->numArguments())
                                .arg(args.size());
    logLine(message);
    Inspector::self()->setError(message);
    return false;
}

} // namespace Tolvex
