#pragma once

#include "flist.h"

#include <QString>
#include <QVariant>

#include <initializer_list>

namespace Tolvex {

// The arguments and results of remote functions, in order.
class ArgumentList : public FList<QVariant>
{
public:
    ArgumentList() = default;
    ArgumentList(const FList<QVariant> &other) : FList<QVariant>(other) {}
    ArgumentList(std::initializer_list<QVariant> values) : FList<QVariant>(values) {}
    explicit ArgumentList(const QVariant &v) { append(v); }
    explicit ArgumentList(const QString &s) { append(QVariant(s)); }

    // The value at i, or an invalid QVariant past the end: arguments come
    // from a peer, and a missing one must not be a crash.
    QVariant value(int i) const { return i >= 0 && i < count() ? at(i) : QVariant(); }

    QString toString() const
    {
        QString result = QStringLiteral("[ ");
        for (const QVariant &v : *this)
            result += v.toString() + QLatin1Char(' ');
        return result + QLatin1Char(']');
    }
};

} // namespace Tolvex
