#pragma once

#include "shared.h"
#include "tolvexexport.h"

#include <QList>
#include <QString>

#include <string>

namespace Tolvex {

class Object;

// Plain values to and from the objects of the model. The unwrap forms
// return false and leave the target alone when the object holds no such
// value.
TOLVEX_EXPORT SharedPtr<Object> wrap(const QList<QString> &strings);
TOLVEX_EXPORT SharedPtr<Object> wrap(const std::string &text);
TOLVEX_EXPORT bool unwrap(SharedPtr<Object> obj, QList<QString> *strings);
TOLVEX_EXPORT bool unwrap(SharedPtr<Object> obj, QString *text);
TOLVEX_EXPORT bool unwrap(SharedPtr<Object> obj, int *value);
TOLVEX_EXPORT bool unwrap(SharedPtr<Object> obj, std::string *text);

} // namespace Tolvex
