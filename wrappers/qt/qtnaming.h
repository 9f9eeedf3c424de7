#pragma once

// Names of QObjects. The real name of an object is a multi-property name of
// what a tester would pick to tell it apart: its type, its object name, its
// QML id, the text or title it shows, the container or the window it sits
// in, and, only where these leave several objects alike, its occurrence
// among them in the order of the object tree. The same application gives
// the same names in every run, and a name, when it is made, finds exactly
// its object.
//
// Lookup matches a multi-property name against the objects in that same
// order: below the container or the window the name gives, else among all
// objects. Texts match as they are and as they show, without the "&" of a
// mnemonic and without the "[*]" of a window title.

#include "propertyvalue.h"

#include <QMap>
#include <QString>

class QObject;

namespace Tolvex {

class QtNaming
{
public:
    static QString realName(QObject *object);
    // The properties of the real name but the occurrence.
    static QMap<QString, PropertyValue> nameProperties(QObject *object);
    // The name of one step of a dotted path: the object name, else the QML
    // id, else the type.
    static QString shortName(QObject *object);
    // The type objects of a class have in names.
    static QString typeName(const QObject *object);

    // The object a multi-property name stands for, or null; after a failed
    // lookup the Inspector knows, per candidate of the right type, which
    // properties did not match.
    static QObject *find(const QMap<QString, PropertyValue> &properties);

    // The nearest ancestor that groups what it holds for a tester (a group
    // box, a tab widget, a dock widget, a QML list view, ...), or null.
    static QObject *container(QObject *object);
    // A text as it shows on the screen: without the "&" that marks a
    // mnemonic (a doubled one stays as one), without the "[*]" that marks
    // the place of a window title's modification mark.
    static QString displayText(const QString &text);
};

} // namespace Tolvex
