#pragma once

#include "tolvexexport.h"

#include <QRegularExpression>
#include <QString>

namespace Tolvex {

// One property value of a multi-property name, with the way it is matched.
class TOLVEX_EXPORT PropertyValue
{
public:
    // Fixed underlying types: modes and types arrive as plain ints from streams, and
    // values beyond the named ones must stay representable.
    enum Modifiers : int { Exact = 0, RegularExpression = 1, Wildcard = 2 };
    enum Type : int { String = 0, Object = 1 };

    PropertyValue();
    PropertyValue(const QString &stringValue, Modifiers matchingMode, Type type);

    // The text as written: quotes and escapes removed; a nested name from '{' to '}'.
    const QString &stringValue() const { return m_stringValue; }
    Modifiers matchingMode() const { return m_matchingMode; }
    Type type() const { return m_type; }
    bool isObject() const { return m_type == Object; }
    // Empty for exact values.
    const QRegularExpression &regularExpression() const { return m_regularExpression; }

    // Patterns are not anchored: a wildcard or regular expression matches anywhere in
    // the text. Exact values that name an object or a symbolic name are resolved through
    // the object map.
    bool matches(const QString &text) const;

    // The type does not take part: a nested name and its text in quotes are the same value.
    friend bool operator==(const PropertyValue &a, const PropertyValue &b)
    {
        return a.m_matchingMode == b.m_matchingMode && a.m_stringValue == b.m_stringValue;
    }
    friend bool operator!=(const PropertyValue &a, const PropertyValue &b) { return !(a == b); }

    // "=", "~=" or "?=" for the three modes, empty for anything else.
    static QString operatorText(int matchingMode);

    // Turns a wildcard text ('*', '?', sets in brackets, backslash escapes) into a
    // regular expression pattern.
    static QString wildcardToPattern(const QString &wildcard);

private:
    QRegularExpression m_regularExpression;
    QString m_stringValue;
    Modifiers m_matchingMode = Exact;
    Type m_type = String;
};

} // namespace Tolvex
