#pragma once

// What the wrapper's tests share: one wrapper for the process, lookups and
// property access through the object model as the agent makes them, and
// waits in the event loop.

#include "eventloop.h"

#include "object.h"
#include "qtwrapper.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <ostream>

class QObject;

// Readable Qt values in failure messages.
inline std::ostream &operator<<(std::ostream &os, const QString &text)
{
    return os << text.toStdString();
}
inline void PrintTo(const QString &text, std::ostream *os)
{
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList &list, std::ostream *os)
{
    *os << '[' << list.join(QStringLiteral("\", \"")).toStdString() << ']';
}
inline void PrintTo(const QVariant &value, std::ostream *os)
{
    *os << value.typeName() << '(' << value.toString().toStdString() << ')';
}

namespace QtWrapperTest {

using Tolvex::Object;
using Tolvex::SharedPtr;

// The wrapper of this process, made on first use.
Tolvex::QtWrapper *wrapper();

SharedPtr<Object> objectFor(QObject *object);
QString realName(QObject *object);
// Inspector::findObject, the last error consumed.
SharedPtr<Object> find(const QString &name);
QObject *findQObject(const QString &name);
// The Inspector's last error, consumed.
QString lastError();

// A property of an object read through its class, and its text.
SharedPtr<Object> property(const SharedPtr<Object> &object, const QString &name);
QString propertyText(QObject *object, const QString &name);
// Sets a property through its class from an object of the model.
bool setProperty(QObject *object, const QString &name, const SharedPtr<Object> &value);
// Calls a method by name with the overload resolution of the model.
SharedPtr<Object> call(QObject *object, const QString &method, const Tolvex::ObjectList &args);

SharedPtr<Object> text(const QString &value);
SharedPtr<Object> number(int value);

// The real names of every object below root, in the order of the tree.
QStringList realNamesBelow(QObject *root);

void settle(int milliseconds = 50);

} // namespace QtWrapperTest
