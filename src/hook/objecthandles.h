#pragma once

#include "argumentlist.h"
#include "flist.h"
#include "object.h"
#include "objectlist.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <map>

namespace Tolvex {

// The objects a test script holds by number, and the calls that read and
// change objects through those numbers. The id of an object is its serial
// number; 0 is the root of the object tree; a negative id in member access
// names a class. Each time an object goes out to the server its handle count
// rises, and each remoteObjectDestroyed takes one back: the dictionary keeps
// the object alive while the server holds any handle to it.
//
// Faults of the protocol (an unknown id, a missing member) are printed on the
// log stream and answered with a null object, an invalid value or false.
class ObjectHandles
{
public:
    // "<id>,<class id>", or an invalid QVariant for a null object. Enters the
    // object in the dictionary or counts one more handle.
    QVariant objectToVariant(const SharedPtr<Object> &object);
    SharedPtr<Object> objectById(int id) const;
    ObjectList idsToObjects(const FList<int> &ids) const;
    void remoteObjectDestroyed(int id);
    void clearObjectDict() { m_dictionary.clear(); }
    int handleCount(int id) const;
    int size() const { return int(m_dictionary.size()); }

    // The object tree.
    int numObjects(int id) const;
    SharedPtr<Object> objectByIndex(int parent, int index) const;
    SharedPtr<Object> objectByName(int parent, const QString &name) const;
    QStringList objects(int id);
    SharedPtr<Object> parent(int id) const;
    QString objectName(int id) const;
    QString qualifiedObjectName(int id) const;

    // Members; a negative id calls the member of a class without an object.
    SharedPtr<Object> getProperty(int id, int property) const;
    bool setProperty(int id, int property, int value) const;
    SharedPtr<Object> invoke(int id, int method, const FList<int> &args) const;
    SharedPtr<Object> construct(int classId, int index, const FList<int> &args) const;

    // Conversions; ok tells whether the id was known.
    QString objectToDebugString(int id) const;
    int objectToInteger(int id, bool *ok) const;
    long long objectToInt64(int id, bool *ok) const;
    QString objectToString(int id, bool *ok) const;
    double objectToDouble(int id, bool *ok) const;
    bool objectToBoolean(int id, bool *ok) const;
    void objectFromInteger(int id, int value) const;
    void objectFromInt64(int id, long long value) const;
    void objectFromString(int id, const QString &value) const;
    void objectFromDouble(int id, double value) const;
    void objectFromBoolean(int id, bool value) const;

    bool objectCompare(int a, int b) const;
    bool objectIsNull(int id) const;
    // The class id of the cast object, or -1.
    int objectCast(int id, int classId) const;
    SharedPtr<Object> objectReference(int id) const;
    SharedPtr<Object> objectDereference(int id) const;
    QByteArray getObjectAttribute(int id) const;

    // Conversion through the classes, looked up by id.
    bool canConvertTo(int fromClassId, int toClassId, bool sourceIsPointer,
                      bool targetIsPointer) const;
    SharedPtr<Object> convertTo(int fromClassId, int id, int toClassId, bool targetIsPointer) const;
    SharedPtr<Object> convertToInterface(int fromClassId, int id, const QString &name) const;
    // The object's bounds on the screen, from its class's geometry delegate;
    // null with the tester's error text when there is none.
    static SharedPtr<Object> objectGlobalBounds(const SharedPtr<Object> &object);

    SharedPtr<Object> createPrimitive(const QString &type, const QVariant &value) const;
    SharedPtr<Object> createNull(const QString &className) const;
    SharedPtr<Object> getVoidObject() const;

    // The metadata the server fetches: every class, every namespace.
    static QByteArray allClasses();
    // The wire form of the classes from this id on, in id order.
    static QByteArray classesFrom(int firstId);
    static QByteArray allNamespaces();

private:
    struct Entry
    {
        int handles = 0;
        SharedPtr<Object> object;
    };
    // The class or the object a member access names, with the messages of
    // the call: what is its name ("getProperty"), action what it would do
    // ("get property").
    bool memberTarget(const char *what, const char *action, int id, const Class **type,
                      SharedPtr<Object> *object) const;
    SharedPtr<Object> known(const char *what, int id) const;

    std::map<int, Entry> m_dictionary;
};

} // namespace Tolvex
