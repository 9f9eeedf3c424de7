#include "propertyvalue.h"

#include "objectmap.h"
#include "objectmap_p.h"
#include "objectname.h"

namespace Tolvex {

namespace {

// A default QRegularExpression allocates; most values are exact and share this one.
const QRegularExpression &noRegularExpression()
{
    static const QRegularExpression none;
    return none;
}

} // namespace

PropertyValue::PropertyValue() : m_regularExpression(noRegularExpression()) {}

PropertyValue::PropertyValue(const QString &stringValue, Modifiers matchingMode, Type type)
    : m_regularExpression(noRegularExpression()), m_stringValue(stringValue),
      m_matchingMode(matchingMode), m_type(type)
{
    if (matchingMode == RegularExpression)
        m_regularExpression.setPattern(stringValue);
    else if (matchingMode == Wildcard)
        m_regularExpression.setPattern(wildcardToPattern(stringValue));
}

QString PropertyValue::operatorText(int matchingMode)
{
    switch (matchingMode) {
    case Exact:
        return QStringLiteral("=");
    case RegularExpression:
        return QStringLiteral("~=");
    case Wildcard:
        return QStringLiteral("?=");
    default:
        return QString();
    }
}

namespace {

bool isRegExpSpecial(QChar c)
{
    switch (c.unicode()) {
    case '$':
    case '(':
    case ')':
    case '+':
    case '.':
    case '^':
    case '{':
    case '|':
    case '}':
        return true;
    default:
        return false;
    }
}

// Copies a bracketed set starting at wildcard[i] == '[' as it stands. Returns the index
// of its closing ']', or -1 when the set is never closed.
qsizetype copySet(const QString &wildcard, qsizetype i, QString &pattern)
{
    const qsizetype n = wildcard.size();
    pattern += u'[';
    ++i;
    if (i < n && wildcard[i] == u'^')
        pattern += wildcard[i++];
    if (i < n && wildcard[i] == u']')
        pattern += wildcard[i++];
    while (i < n) {
        const QChar c = wildcard[i];
        if (c == u']') {
            pattern += c;
            return i;
        }
        if (c == u'\\') {
            if (i + 1 >= n)
                return -1;
            pattern += c;
            pattern += wildcard[++i];
        } else {
            pattern += c;
        }
        ++i;
    }
    return -1;
}

} // namespace

QString PropertyValue::wildcardToPattern(const QString &wildcard)
{
    QString pattern;
    pattern.reserve(wildcard.size() * 2);
    // Only a non-backslash clears a pending backslash, so a run of backslashes keeps
    // escaping what follows it.
    bool backslash = false;
    const qsizetype n = wildcard.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = wildcard[i];
        if (c == u'\\') {
            if (backslash)
                pattern += QLatin1String("\\\\");
            backslash = true;
            continue;
        }
        if (c == u'*') {
            pattern += backslash ? QLatin1String("\\*") : QLatin1String(".*");
        } else if (c == u'?') {
            pattern += backslash ? QLatin1String("\\?") : QLatin1String(".");
        } else if (c == u'[') {
            if (backslash) {
                pattern += QLatin1String("\\[");
            } else {
                i = copySet(wildcard, i, pattern);
                if (i < 0)
                    return pattern;
            }
        } else if (c == u']') {
            pattern += backslash ? QLatin1String("\\]") : QLatin1String("]");
        } else {
            if (backslash)
                pattern += QLatin1String("\\\\");
            if (isRegExpSpecial(c))
                pattern += u'\\';
            pattern += c;
        }
        backslash = false;
    }
    return pattern;
}

bool PropertyValue::matches(const QString &text) const
{
    if (m_matchingMode == RegularExpression || m_matchingMode == Wildcard) {
        // A pattern that does not compile never matches; checking first keeps Qt from
        // warning on every attempt.
        return m_regularExpression.isValid() && m_regularExpression.match(text).hasMatch();
    }
    if (m_matchingMode != Exact)
        return false;
    if (m_stringValue == text)
        return true;
    if (m_type == Object)
        return resolveObjectName(m_stringValue) == resolveObjectName(text);

    // A plain string still names an object when it is a symbolic name: recorded names
    // refer to their containers that way.
    if (!m_stringValue.startsWith(u':'))
        return false;
    if (!text.startsWith(u':') && !isMultiPropertyName(text))
        return false;
    const ObjectMap *map = ObjectMap::self();
    if (!map || !map->contains(m_stringValue))
        return false;
    return map->objectName(m_stringValue) == map->objectName(text);
}

} // namespace Tolvex
