#pragma once

#include "shared.h"

#include <QList>
#include <QString>

#include <string>

namespace Tolvex {

class Object;

// Plain values to and from the objects of the model. The unwrap forms
// return false and leave the target alone when the object holds no such
// value.
SharedPtr<Object> wrap(const QList<QString> &strings);
SharedPtr<Object> wrap(const std::string &text);
bool unwrap(SharedPtr<Object> obj, QList<QString> *strings);
bool unwrap(SharedPtr<Object> obj, QString *text);
bool unwrap(SharedPtr<Object> obj, int *value);
bool unwrap(SharedPtr<Object> obj, std::string *text);

} // namespace Tolvex
