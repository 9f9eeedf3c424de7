#include "wrappercreator.h"

#include "class.h"
#include "constructor.h"
#include "enum.h"
#include "inspector.h"
#include "logging.h"
#include "method.h"

#include <QtGlobal>

#include <cstring>

namespace Tolvex {

namespace {

// 64-bit so that first + count cannot overflow for any pair of table ints.
bool isRange(std::int64_t first, std::int64_t count, std::size_t size)
{
    return first >= 0 && count >= 0 && first + count <= std::int64_t(size);
}

bool isIndex(std::int64_t index, std::size_t size)
{
    return isRange(index, 1, size);
}

// An unqualified name is the owner's own enumeration (or one inherited)
// before it is a global one.
const Enum *findEnumerator(const Class *owner, const QString &name)
{
    if (owner && !name.contains(QLatin1String("::"))) {
        if (const Enum *e = owner->enumerator(name))
            return e;
    }
    return Inspector::self()->enumerator(name);
}

} // namespace

WrapperCreator::WrapperCreator(const Class *owner, std::span<const char> strings,
                               std::span<const ConstructorDescriptor> constructors,
                               std::span<const MethodDescriptor> methods,
                               std::span<const std::int32_t> argumentList,
                               std::span<const ArgumentDescriptor> arguments)
    : m_owner(owner), m_strings(strings), m_constructors(constructors), m_methods(methods),
      m_argumentList(argumentList), m_arguments(arguments)
{}

void WrapperCreator::warn(const QString &text) const
{
    const QString owner = m_owner ? m_owner->className() : QStringLiteral("<no class>");
    qCWarning(lcTraceWrapper).noquote()
        << QStringLiteral("WrapperCreator for %1: %2").arg(owner, text);
}

std::optional<QString> WrapperCreator::stringAt(std::int64_t offset) const
{
    if (!isIndex(offset, m_strings.size()))
        return std::nullopt;
    const char *start = m_strings.data() + offset;
    const auto *end =
        static_cast<const char *>(std::memchr(start, '\0', m_strings.size() - size_t(offset)));
    if (!end)
        return std::nullopt;
    return QString::fromUtf8(start, end - start);
}

Constructor *WrapperCreator::createConstructor(int index) const
{
    if (!isIndex(index, m_constructors.size())) {
        warn(QStringLiteral("constructor %1 is outside the table of %2")
                 .arg(index)
                 .arg(m_constructors.size()));
        return nullptr;
    }
    const ConstructorDescriptor &d = m_constructors[size_t(index)];
    const std::optional<Signature> signature = signatureFromData(d.firstArgument, d.argumentCount);
    if (!signature) {
        warn(QStringLiteral("constructor %1 not created").arg(index));
        return nullptr;
    }
    return new Constructor(m_owner, *signature, index);
}

Method *WrapperCreator::createMethod(int id) const
{
    const int offset = m_owner ? m_owner->superClassOffset(Class::Methods) : 0;
    const std::int64_t index = std::int64_t(id) - offset;
    if (!isIndex(index, m_methods.size())) {
        warn(QStringLiteral("method id %1 is outside the class's own methods %2 to %3")
                 .arg(id)
                 .arg(offset)
                 .arg(std::int64_t(offset) + std::int64_t(m_methods.size()) - 1));
        return nullptr;
    }
    const MethodDescriptor &d = m_methods[size_t(index)];
    const std::optional<QString> name = stringAt(d.name);
    if (!name) {
        warn(QStringLiteral("method %1: name offset %2 does not address a string")
                 .arg(id)
                 .arg(d.name));
        return nullptr;
    }
    Argument returnType;
    if (d.returnArgument >= 0) {
        const std::optional<Argument> r = argumentFromDescriptor(d.returnArgument);
        if (!r) {
            warn(QStringLiteral("method %1 (%2) not created: bad return type").arg(id).arg(*name));
            return nullptr;
        }
        returnType = *r;
    }
    const std::optional<Signature> signature = signatureFromData(d.firstArgument, d.argumentCount);
    if (!signature) {
        warn(QStringLiteral("method %1 (%2) not created: bad parameters").arg(id).arg(*name));
        return nullptr;
    }
    return new Method(m_owner, returnType, *name, *signature, id, (d.flags & 0xffu) != 0);
}

std::optional<Signature> WrapperCreator::signatureFromData(int first, int count) const
{
    if (!isRange(first, count, m_argumentList.size())) {
        warn(QStringLiteral("parameters %1 to %2 are outside the argument list of %3")
                 .arg(first)
                 .arg(std::int64_t(first) + count - 1)
                 .arg(m_argumentList.size()));
        return std::nullopt;
    }
    Signature signature;
    for (int i = 0; i < count; ++i) {
        const std::optional<Argument> a = argumentFromDescriptor(m_argumentList[size_t(first + i)]);
        if (!a)
            return std::nullopt;
        signature.append(*a);
    }
    return signature;
}

std::optional<Argument> WrapperCreator::argumentFromDescriptor(int index) const
{
    if (!isIndex(index, m_arguments.size())) {
        warn(QStringLiteral("argument %1 is outside the table of %2")
                 .arg(index)
                 .arg(m_arguments.size()));
        return std::nullopt;
    }
    const ArgumentDescriptor &d = m_arguments[size_t(index)];

    QString name;
    if (d.name >= 0) {
        const std::optional<QString> n = stringAt(d.name);
        if (!n) {
            warn(QStringLiteral("argument %1: name offset %2 does not address a string")
                     .arg(index)
                     .arg(d.name));
            return std::nullopt;
        }
        name = *n;
    }

    bool ok = false;
    const Class *type = typeOf(d, index, &ok);
    if (!ok)
        return std::nullopt;

    const Enum *enumerator = nullptr;
    if (d.enumName >= 0) {
        const std::optional<QString> enumName = stringAt(d.enumName);
        if (!enumName) {
            warn(QStringLiteral("argument %1: enumeration offset %2 does not address a string")
                     .arg(index)
                     .arg(d.enumName));
            return std::nullopt;
        }
        enumerator = findEnumerator(m_owner, *enumName);
        if (!enumerator)
            warn(QStringLiteral("argument %1: enumeration %2 not found").arg(index).arg(*enumName));
    }
    return Argument(name, type, enumerator, d.attributeFlags, d.arrayLength);
}

// A null class with *ok true is an unknown type, which Argument turns into
// "undefined"; *ok false is a fault in the tables.
const Class *WrapperCreator::typeOf(const ArgumentDescriptor &d, int index, bool *ok) const
{
    *ok = false;
    const unsigned int kind = d.kind & 0xffu;
    if (kind == ArgumentDescriptor::TypeById) {
        *ok = true;
        const Class *c = Inspector::self()->type(int(d.type));
        if (!c)
            warn(QStringLiteral("argument %1: class id %2 is unknown").arg(index).arg(d.type));
        return c;
    }
    if (kind != ArgumentDescriptor::TypeByName && kind != ArgumentDescriptor::TypeByClassName) {
        warn(QStringLiteral("argument %1: unknown type kind %2").arg(index).arg(kind));
        return nullptr;
    }
    const std::optional<QString> typeName = stringAt(d.type);
    if (!typeName) {
        warn(QStringLiteral("argument %1: type name offset %2 does not address a string")
                 .arg(index)
                 .arg(d.type));
        return nullptr;
    }
    QString fullName = *typeName;
    if (kind == ArgumentDescriptor::TypeByClassName) {
        if (!m_owner) {
            warn(QStringLiteral("argument %1: type %2 needs an owning class to be completed")
                     .arg(index)
                     .arg(*typeName));
            return nullptr;
        }
        fullName = m_owner->realType(*typeName);
    }
    *ok = true;
    const Class *c = Inspector::self()->type(fullName);
    if (!c)
        warn(QStringLiteral("argument %1: type %2 is unknown").arg(index).arg(fullName));
    return c;
}

} // namespace Tolvex
