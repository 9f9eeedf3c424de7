#pragma once

#include "fvector.h"
#include "objectlist.h"
#include "serializable.h"
#include "tolvexexport.h"

#include <QList>
#include <QString>
#include <QTime>

#include <memory>

namespace Tolvex {

class Class;
class Enum;
class Event;
class Method;
class Signature;

// One argument of a recorded event: a primitive's text, an object's
// properties as sub-arguments, or an enumerator's keys.
class TOLVEX_EXPORT EventDataArg : public Serializable
{
public:
    enum Kind { PrimitiveKind = 0, ObjectKind = 1, EnumeratorKind = 2 };

    EventDataArg() = default;
    EventDataArg(const QString &name, int classId) : m_name(name), m_classId(classId) {}

    Kind kind() const { return m_kind; }
    QString name() const { return m_name; }
    int classId() const { return m_classId; }
    QString value() const { return m_value; }
    QString enumName() const { return m_enumName; }
    int primitiveClassId() const { return m_primitiveClassId; }
    QList<QString> enumKeys() const { return m_enumKeys; }
    int numSubArguments() const { return m_sub ? m_sub->count() : 0; }
    const EventDataArg &subArgument(int index) const { return (*m_sub)[index]; }

    void setPrimitive(const QString &value, int primitiveClassId);
    void setEnum(const QString &enumName, const QString &value, const QList<QString> &keys);
    // An object's argument: its readable properties follow as sub-arguments.
    void setObject();
    void appendSubArgument(const EventDataArg &arg);

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    void read(QDataStream &stream, int depth);

    Kind m_kind = PrimitiveKind;
    QString m_name;
    int m_classId = -1;
    QString m_value;
    QString m_enumName;
    int m_primitiveClassId = -1;
    std::shared_ptr<FVector<EventDataArg>> m_sub;
    QList<QString> m_enumKeys;
};

// One recorded event or method call, as it travels to the recorder.
class TOLVEX_EXPORT EventData : public Serializable
{
public:
    enum Type { EventType = 0, MethodType = 1, CommentType = 2, FunctionType = 3, StartedType = 4 };

    EventData();
    EventData(const Event *event, const QString &objectId, const ObjectList &args);
    EventData(const Method *method, const ObjectList &args);
    EventData(const Method *method, const QString &objectId, const ObjectList &args);
    EventData(const QString &method, const QString &objectId, const ObjectList &args);
    EventData(const QString &method, const ObjectList &args, const QString &returnVariable);
    EventData(const QString &method, const QList<QString> &argumentTexts,
              const QString &returnVariable);

    static EventData applicationStarted();
    static EventData fromComment(const QString &text);
    static EventDataArg createArgument(const QString &name, const Class *argumentClass,
                                       const Enum *enumerator, const SharedPtr<Object> &value);

    bool operator==(const EventData &o) const { return m_serial == o.m_serial; }
    bool operator<(const EventData &o) const;

    Type type() const { return m_type; }
    int serial() const { return m_serial; }
    const EventDataArg &argument(int index) const { return m_arguments[index]; }
    int numArguments() const { return m_arguments.count(); }
    const FVector<EventDataArg> &arguments() const { return m_arguments; }
    QString eventName() const { return m_type == EventType ? m_eventName : QString(); }
    QString methodName() const;
    void setMethodName(const QString &name) { m_methodName = name; }
    QString objectId() const { return m_objectId; }
    void setObjectId(const QString &id) { m_objectId = id; }
    QString itemText() const { return m_itemText; }
    void setItemText(const QString &text) { m_itemText = text; }
    QTime timeStamp() const { return m_timeStamp; }
    void setTimeStamp(const QTime &time) { m_timeStamp = time; }
    int appId() const { return m_appId; }
    void setAppId(int id) { m_appId = id; }
    int delay() const { return m_delay; }
    void setDelay(int delay) { m_delay = delay; }
    void *extraData() const { return m_extraData; }
    void setExtraData(void *data) { m_extraData = data; }
    QString returnVariable() const { return m_returnVariable; }
    QList<QString> argumentNames() const { return m_argumentNames; }

    QString toDebugString() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    explicit EventData(Type type);
    void addArguments(const ObjectList &args, const Signature *signature);

    Type m_type = EventType;
    QString m_eventName;
    QString m_methodName;
    QString m_objectId;
    FVector<EventDataArg> m_arguments;
    int m_serial = 0;
    void *m_extraData = nullptr;
    QTime m_timeStamp;
    int m_appId = -1;
    int m_delay = 0;
    QString m_returnVariable;
    QList<QString> m_argumentNames;
    int m_reserved = -1;
    QString m_itemText;
};

// Writes an event's debug text to the hook's trace.
TOLVEX_EXPORT void dumpEventData(const EventData &data);

} // namespace Tolvex
