#pragma once

// One object of the model for each live QObject: the same QObject always
// gives the same Object, so that the ids the server holds stay valid, and
// the Object is invalidated when its QObject is destroyed.

#include "shared.h"

class QObject;

namespace Tolvex {

class Object;

class QtObjectRegistry
{
public:
    // Null for a null pointer and for an object of another thread.
    static SharedPtr<Object> wrap(QObject *object);
    // The QObject of an object that wrap made, while it lives; else null.
    static QObject *qobject(const SharedPtr<Object> &object);
    // How many QObjects have an Object now.
    static int count();
};

} // namespace Tolvex
