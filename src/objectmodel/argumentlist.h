#pragma once

#include "flist.h"

#include <QString>
#include <QVariant>

namespace Tolvex {

// Arguments and results of remote functions.
class ArgumentList : public FList<QVariant>
{
public:
    ArgumentList() = default;
    ArgumentList(const FList<QVariant> &other) : FList<QVariant>(other) {}
    explicit ArgumentList(const QVariant &v) { append(v); }
    explicit ArgumentList(const QString &s) { append(QVariant(s)); }

    QString toString() const
    {
        QString result = QStringLiteral("[ ");
        for (const QVariant &v : *this)
            result += v.toString() + QLatin1Char(' ');
        return result + QLatin1Char(']');
    }
};

} // namespace Tolvex
