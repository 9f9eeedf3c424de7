#pragma once

#include "fvector.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>

namespace Tolvex {

class CastDelegate;
class Class;
class Constructor;
class Enum;
class Event;
class Interface;
class Method;
class Namespace;
class Property;
class StaticPropertyDelegate;

class ClassPrivate
{
public:
    ClassPrivate();
    ~ClassPrivate();

    // superClass is only meaningful once superClassInitialised is set; until
    // then initSuperClass() has yet to run, so a superclass may be registered
    // after its subclasses.
    const Class *superClass = nullptr;
    FVector<const Constructor *> constructors;
    FVector<const Method *> methods;
    FVector<const Property *> properties;
    FVector<const Event *> events;
    FVector<const Enum *> enums;
    QSharedPointer<QMap<QString, const Interface *>> interfaces;
    const StaticPropertyDelegate *propertyDelegate = nullptr;
    const CastDelegate *castDelegate = nullptr;
    bool propertyDelegateSearched : 1;
    bool castDelegateSearched : 1;
    bool superClassInitialised : 1;
    bool propertiesBuilt : 1;
    int numDynamicProperties = -1;
    int id = -1;
    int numMethods = -1;
    int numConstructors = -1;
    int numProperties = -1;
    int numEvents = -1;
    int numEnums = -1;
    // Name indexes of the own tables, made with them: the position of the
    // first member of a name (all of them for methods, in table order).
    QHash<QString, QList<int>> methodIndex;
    QHash<QString, int> propertyIndex;
    QHash<QString, int> eventIndex;
    QHash<QString, int> enumIndex;
    char *name = nullptr;
    Namespace *nameSpace = nullptr;
    unsigned int natures = 0;
};

} // namespace Tolvex
