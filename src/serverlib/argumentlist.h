#pragma once

#include <QList>
#include <QVariant>

namespace Tolvex {

// The arguments and results of remote functions, in order.
using ArgumentList = QList<QVariant>;

} // namespace Tolvex
