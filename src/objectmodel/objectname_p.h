#pragma once

#include "propertyvalue.h"

#include <QMap>
#include <QString>

namespace Tolvex {

// The state machine behind parseNameByProperties(), run on the name that starts at pos.
// It leaves pos on the closing '}' or, when the string ends first, at its end without an
// error: the caller knows which text fits. Some of its errors (a missing '{', a trailing
// backslash) cannot arise through parseNameByProperties(), which only hands it strings
// in braces.
QMap<QString, PropertyValue> parseObjectNameAt(const QString &name, qsizetype &pos, QString &error);

} // namespace Tolvex
