#pragma once

// Values between Qt and the object model. A QVariant becomes a primitive
// (numbers, booleans, strings and string lists), a value class of the model
// (QPoint, QRect, QDateTime, lists and maps), a value class of the wrapper
// (QSize, QColor, QFont, ...), the object of a QObject, or the name of an
// enumerator's key; and back, to exactly the type a property or a parameter
// has. Also the calls of meta methods with such converted arguments.

#include "argument.h"
#include "shared.h"

#include <QMetaEnum>
#include <QMetaMethod>
#include <QMetaType>
#include <QVariant>
#include <QVariantList>

class QObject;

namespace Tolvex {

class Class;
class Enum;
class Object;

class QtValueConversion
{
public:
    // The object for a value; enumerators read as the names of their keys,
    // a flag value as the names joined by "|". Null for an invalid value.
    static SharedPtr<Object> toObject(const QVariant &value, const QMetaEnum &enumerator);
    static SharedPtr<Object> toObject(const QVariant &value);

    // The value an object stands for, in the type most natural to it.
    static QVariant toVariant(const SharedPtr<Object> &object);
    // The value converted to exactly the type; false, with the reason, when
    // it cannot be. An enumerator takes a number or the names of keys.
    static bool convert(QVariant *value, QMetaType type, const QMetaEnum &enumerator,
                        QString *error);

    // The text a value reads as in object names and in recorded events.
    static QString text(const QVariant &value, const QMetaEnum &enumerator = QMetaEnum());

    // The enumerator a type is, if it is one Qt knows by its meta object.
    static QMetaEnum metaEnum(QMetaType type);
    static QString enumText(const QMetaEnum &enumerator, qint64 value);
    // A number, a key, or keys joined by "|"; with or without the scope.
    static bool enumValue(const QMetaEnum &enumerator, const QString &text, qint64 *value);

    // The argument that describes the type in the model: the class of the
    // object toObject makes of it. Classes of QObjects are only those
    // registered before owner, so that a reader of the classes in their
    // order knows each one it meets; any other type accepts any object.
    static Argument argumentFor(QMetaType type, const Class *owner, const Enum *enumerator,
                                const QString &name = QString());

    // Calls the method with the arguments converted to its parameter types.
    // The result, for a method that returns one, goes to result.
    static bool invoke(QObject *object, const QMetaMethod &method, QVariantList args,
                       QVariant *result, QString *error);
    // The same with the first method of the name that takes the arguments.
    static bool invoke(QObject *object, const char *name, const QVariantList &args,
                       QVariant *result = nullptr);
};

} // namespace Tolvex
