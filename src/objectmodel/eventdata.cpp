#include "eventdata.h"

#include "class.h"
#include "enum.h"
#include "event.h"
#include "inspector.h"
#include "method.h"
#include "object.h"
#include "property.h"
#include "streamlimits_p.h"

#include <QLoggingCategory>

#include <atomic>
#include <vector>

namespace Tolvex {

namespace {

// Nested object arguments deeper than this are cut off: a value's
// properties may lead back to the value itself, and a hostile stream may
// nest without end.
constexpr int MaxArgumentDepth = 16;
constexpr int MaxStreamDepth = 64;

std::atomic<int> nextSerial{1};

const QLoggingCategory &hookTrace()
{
    static const QLoggingCategory category("tolvex.hook");
    return category;
}

template <typename T> FVector<T> toFVector(std::vector<T> &&items)
{
    FVector<T> result(int(items.size()));
    for (size_t i = 0; i < items.size(); ++i)
        result[int(i)] = std::move(items[i]);
    return result;
}

QList<QString> readStringList(QDataStream &stream)
{
    QList<QString> result;
    const qint32 n = readInt(stream);
    for (qint32 i = 0; i < n && streamCanContinue(stream); ++i) {
        QString s = readString(stream);
        if (stream.status() != QDataStream::Ok)
            break;
        result.append(s);
    }
    return result;
}

void writeStringList(QDataStream &stream, const QList<QString> &list)
{
    stream << qint32(list.size());
    for (const QString &s : list)
        stream << s;
}

EventDataArg createArgumentAt(const QString &name, const Class *argumentClass,
                              const Enum *enumerator, const SharedPtr<Object> &value, int depth);

// An object argument converted to a primitive the declared class accepts.
bool asDeclaredPrimitive(EventDataArg *arg, const Class *declared, const SharedPtr<Object> &value,
                         int primitiveId)
{
    const Class *primitive = Inspector::self()->type(primitiveId);
    if (!declared || !primitive)
        return false;
    const bool pointer = value->objectAttribute().isPointer();
    const bool viaPointer = primitiveId == CharClassId;
    if (!value->type()->canConvertTo(primitive, pointer, viaPointer, nullptr))
        return false;
    if (declared != primitive && !primitive->canConvertTo(declared, viaPointer, false, nullptr))
        return false;
    SharedPtr<Object> converted = value->type()->convertTo(value, primitive, viaPointer);
    if (!converted)
        return false;
    arg->setPrimitive(converted->toString(), primitiveId);
    return true;
}

QList<QString> enumKeys(const Enum *e, int value)
{
    QList<QString> keys;
    if (!e->isMask()) {
        bool ok = false;
        const QString key = e->valueToKey(value, &ok);
        keys << (ok ? key : QString::number(value));
        return keys;
    }
    for (int i = 0; i < e->count(); ++i) {
        const int item = e->value(i);
        if (item == 0 ? value == 0 : (value & item) == item)
            keys << e->key(i);
    }
    return keys;
}

EventDataArg createArgumentAt(const QString &name, const Class *argumentClass,
                              const Enum *enumerator, const SharedPtr<Object> &value, int depth)
{
    const int classId = value && value->type() ? value->type()->id() : -1;
    EventDataArg arg(name, classId);
    if (!value || !value->type()) {
        arg.setPrimitive(QString(), -1);
        return arg;
    }
    if (classId == IntClassId && enumerator) {
        const int v = value->toInteger();
        arg.setEnum(enumerator->name(), QString::number(v), enumKeys(enumerator, v));
        return arg;
    }
    if (classId >= VoidClassId || classId < 0) {
        if (asDeclaredPrimitive(&arg, argumentClass, value, IntClassId) ||
            asDeclaredPrimitive(&arg, argumentClass, value, CharClassId))
            return arg;
        EventDataArg object(name, classId);
        object.setObject();
        const Class *c = value->type();
        for (int i = 0; depth < MaxArgumentDepth && i < c->numProperties(); ++i) {
            const Property *p = c->property(i);
            if (!p || !p->isReadable() || p->isStatic())
                continue;
            object.appendSubArgument(createArgumentAt(
                p->name(), p->type().type(), p->type().enumerator(), p->get(value), depth + 1));
        }
        return object;
    }
    arg.setPrimitive(value->toString(), classId);
    return arg;
}

} // namespace

// --- EventDataArg ---------------------------------------------------------------

void EventDataArg::setPrimitive(const QString &value, int primitiveClassId)
{
    m_kind = PrimitiveKind;
    m_value = value;
    m_primitiveClassId = primitiveClassId;
}

void EventDataArg::setEnum(const QString &enumName, const QString &value,
                           const QList<QString> &keys)
{
    m_kind = EnumeratorKind;
    m_enumName = enumName;
    m_value = value;
    m_enumKeys = keys;
}

void EventDataArg::setObject()
{
    m_kind = ObjectKind;
}

void EventDataArg::appendSubArgument(const EventDataArg &arg)
{
    m_kind = ObjectKind;
    if (!m_sub)
        m_sub = std::make_shared<FVector<EventDataArg>>();
    m_sub->append(arg);
}

void EventDataArg::writeObject(QDataStream &stream) const
{
    stream << m_name << qint32(m_classId) << qint32(m_kind);
    switch (m_kind) {
    case PrimitiveKind:
        stream << m_value << qint32(m_primitiveClassId);
        break;
    case ObjectKind:
        stream << qint32(numSubArguments());
        for (int i = 0; i < numSubArguments(); ++i)
            (*m_sub)[i].writeObject(stream);
        break;
    case EnumeratorKind:
        stream << m_enumName << m_value;
        writeStringList(stream, m_enumKeys);
        break;
    }
}

void EventDataArg::readObject(QDataStream &stream)
{
    read(stream, 0);
}

void EventDataArg::read(QDataStream &stream, int depth)
{
    *this = EventDataArg();
    m_name = readString(stream);
    m_classId = readInt(stream);
    const qint32 kind = readInt(stream);
    switch (kind) {
    case PrimitiveKind:
        m_value = readString(stream);
        m_primitiveClassId = readInt(stream);
        break;
    case ObjectKind: {
        m_kind = ObjectKind;
        const qint32 n = readInt(stream);
        if (depth >= MaxStreamDepth) {
            stream.setStatus(QDataStream::ReadCorruptData);
            return;
        }
        std::vector<EventDataArg> sub;
        for (qint32 i = 0; i < n && streamCanContinue(stream); ++i) {
            EventDataArg a;
            a.read(stream, depth + 1);
            if (stream.status() != QDataStream::Ok)
                break;
            sub.push_back(std::move(a));
        }
        m_sub = std::make_shared<FVector<EventDataArg>>(toFVector(std::move(sub)));
        break;
    }
    case EnumeratorKind:
        m_kind = EnumeratorKind;
        m_enumName = readString(stream);
        m_value = readString(stream);
        m_enumKeys = readStringList(stream);
        break;
    default:
        stream.setStatus(QDataStream::ReadCorruptData);
        break;
    }
}

// --- EventData -------------------------------------------------------------------

EventData::EventData() : EventData(EventType) {}

EventData::EventData(Type type)
    : m_type(type), m_serial(nextSerial.fetch_add(1)), m_timeStamp(QTime::currentTime())
{}

EventData::EventData(const Event *event, const QString &objectId, const ObjectList &args)
    : EventData(EventType)
{
    m_eventName = event ? event->name() : QString();
    m_objectId = objectId;
    addArguments(args, event ? &event->signature() : nullptr);
}

EventData::EventData(const Method *method, const ObjectList &args) : EventData(FunctionType)
{
    m_methodName = method ? method->name() : QString();
    addArguments(args, method ? &method->signature() : nullptr);
}

EventData::EventData(const Method *method, const QString &objectId, const ObjectList &args)
    : EventData(MethodType)
{
    m_methodName = method ? method->name() : QString();
    if (method && method->type() && method->type() == Inspector::self()->globalClass())
        m_methodName.prepend(QStringLiteral("[findObject \"%1\"] ").arg(objectId));
    m_objectId = objectId;
    addArguments(args, method ? &method->signature() : nullptr);
}

EventData::EventData(const QString &method, const QString &objectId, const ObjectList &args)
    : EventData(MethodType)
{
    m_methodName = method;
    m_objectId = objectId;
    addArguments(args, nullptr);
}

EventData::EventData(const QString &method, const ObjectList &args, const QString &returnVariable)
    : EventData(FunctionType)
{
    m_methodName = method;
    m_returnVariable = returnVariable;
    addArguments(args, nullptr);
}

EventData::EventData(const QString &method, const QList<QString> &argumentTexts,
                     const QString &returnVariable)
    : EventData(FunctionType)
{
    m_methodName = method;
    m_argumentNames = argumentTexts;
    m_returnVariable = returnVariable;
}

EventData EventData::applicationStarted()
{
    return EventData(StartedType);
}

EventData EventData::fromComment(const QString &text)
{
    EventData data(CommentType);
    data.m_objectId = text;
    return data;
}

void EventData::addArguments(const ObjectList &args, const Signature *signature)
{
    std::vector<EventDataArg> result;
    for (size_t i = 0; i < args.size(); ++i) {
        const Argument *declared =
            signature && int(i) < signature->count() ? &signature->at(int(i)) : nullptr;
        result.push_back(createArgument(declared ? declared->name() : QString(),
                                        declared ? declared->type() : nullptr,
                                        declared ? declared->enumerator() : nullptr, args[i]));
    }
    m_arguments = toFVector(std::move(result));
}

EventDataArg EventData::createArgument(const QString &name, const Class *argumentClass,
                                       const Enum *enumerator, const SharedPtr<Object> &value)
{
    return createArgumentAt(name, argumentClass, enumerator, value, 0);
}

bool EventData::operator<(const EventData &o) const
{
    if (m_timeStamp != o.m_timeStamp)
        return m_timeStamp < o.m_timeStamp;
    return m_serial < o.m_serial;
}

QString EventData::methodName() const
{
    return m_type == MethodType || m_type == FunctionType ? m_methodName : QString();
}

QString EventData::toDebugString() const
{
    QString text;
    switch (m_type) {
    case EventType:
        text = QStringLiteral("Type event: eventName: '") + m_eventName + QLatin1Char('\'');
        break;
    case MethodType:
    case FunctionType:
        text = QStringLiteral("Type method/function: methodName: '") + m_methodName +
               QLatin1Char('\'');
        break;
    case CommentType:
        text = QStringLiteral("Type comment:");
        break;
    case StartedType:
        text = QStringLiteral("Type started:");
        break;
    }
    text += QStringLiteral(" objectId: '") + m_objectId + QLatin1Char('\'');
    if (!m_itemText.isEmpty())
        text += QStringLiteral(", itemText = '") + m_itemText + QLatin1Char('\'');
    text +=
        QStringLiteral(" numArguments: ") + QString::number(numArguments()) + QStringLiteral(": [");
    for (const EventDataArg &a : m_arguments)
        text += QLatin1Char(' ') + a.value();
    return text + QStringLiteral(" ]");
}

void EventData::writeObject(QDataStream &stream) const
{
    stream << qint32(m_type);
    if (m_type == EventType)
        stream << m_eventName;
    else if (m_type == MethodType || m_type == FunctionType)
        stream << m_methodName;
    stream << m_objectId << m_timeStamp << m_returnVariable;
    writeStringList(stream, m_argumentNames);
    stream << qint32(numArguments());
    for (const EventDataArg &a : m_arguments)
        a.writeObject(stream);
    stream << qint32(m_reserved) << m_itemText;
}

void EventData::readObject(QDataStream &stream)
{
    const qint32 type = readInt(stream);
    if (type < EventType || type > StartedType) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    m_type = Type(type);
    if (m_type == EventType)
        m_eventName = readString(stream);
    else if (m_type == MethodType || m_type == FunctionType)
        m_methodName = readString(stream);
    m_objectId = readString(stream);
    stream >> m_timeStamp;
    m_returnVariable = readString(stream);
    m_argumentNames = readStringList(stream);
    const qint32 n = readInt(stream);
    std::vector<EventDataArg> args;
    for (qint32 i = 0; i < n && streamCanContinue(stream); ++i) {
        EventDataArg a;
        a.readObject(stream);
        if (stream.status() != QDataStream::Ok)
            break;
        args.push_back(std::move(a));
    }
    m_arguments = toFVector(std::move(args));
    m_reserved = readInt(stream);
    m_itemText = readString(stream);
}

void dumpEventData(const EventData &data)
{
    qCDebug(hookTrace).noquote() << data.toDebugString();
}

} // namespace Tolvex
