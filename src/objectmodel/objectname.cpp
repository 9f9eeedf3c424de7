#include "objectname.h"

#include "objectname_p.h"

namespace Tolvex {

namespace {

using PropertyMap = QMap<QString, PropertyValue>;

// Blank and tab are the only white space of a name; a line break is an ordinary
// character.
bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

void setExpectedError(QString &error, const QString &name, qsizetype pos, const QString &expected)
{
    const QString got = QString::fromLatin1(QString(name[pos]).toLatin1());
    // One multi-argument arg() so that '%' in the name is never taken for a placeholder.
    error = QStringLiteral("Parse error while parsing '%1': at column %2: expected %3, got %4\n")
                .arg(name, QString::number(pos + 1), expected, got);
}

// Parses the name that starts with '{' at pos. Returns with pos on its closing '}', or
// at the end of the string, which the caller reports: the top level and a nested name
// have different texts for it. depth counts the enclosing names, this one included.
PropertyMap parseNameAt(const QString &name, qsizetype &pos, QString &error, int depth)
{
    enum class State { Start, Between, Key, Value, Quoted };

    PropertyMap properties;
    State state = State::Start;
    QString key;
    QString text;
    PropertyValue::Modifiers mode = PropertyValue::Exact;
    const qsizetype size = name.size();

    for (; pos < size; ++pos) {
        const QChar c = name[pos];
        switch (state) {
        case State::Start:
            if (c != u'{') {
                setExpectedError(error, name, pos, QStringLiteral("{"));
                return {};
            }
            key.clear();
            state = State::Between;
            break;

        case State::Between:
            if (isBlank(c))
                break;
            if (c == u'}')
                return properties;
            key = c;
            state = State::Key;
            break;

        case State::Key:
            if (isBlank(c))
                break;
            if (c == u'=') {
                mode = PropertyValue::Exact;
                state = State::Value;
            } else if (c == u'?' || c == u'~') {
                if (pos + 1 >= size || name[pos + 1] != u'=') {
                    setExpectedError(error, name, pos, QStringLiteral("="));
                    return {};
                }
                ++pos;
                mode = c == u'?' ? PropertyValue::Wildcard : PropertyValue::RegularExpression;
                state = State::Value;
            } else {
                key += c;
            }
            break;

        case State::Value:
            if (isBlank(c))
                break;
            if (c == u'\'') {
                text.clear();
                state = State::Quoted;
                break;
            }
            if (c == u'{') {
                if (depth >= MaxObjectNameNesting) {
                    error =
                        QStringLiteral("Object name %1 nests deeper than %2 levels at column %3")
                            .arg(name, QString::number(MaxObjectNameNesting),
                                 QString::number(pos + 1));
                    return {};
                }
                const qsizetype start = pos;
                parseNameAt(name, pos, error, depth + 1);
                if (!error.isEmpty())
                    return {};
                if (pos >= size) {
                    error = QStringLiteral("Unexpected end of object name: %1. Parsing a nested "
                                           "object name starting at column %2 ended at column "
                                           "%3 which is unexpected.")
                                .arg(name, QString::number(start), QString::number(pos));
                    return {};
                }
                if (name[pos] != u'}') {
                    setExpectedError(error, name, pos, QStringLiteral("}"));
                    return {};
                }
                properties.insert(key, PropertyValue(name.mid(start, pos - start + 1), mode,
                                                     PropertyValue::Object));
                state = State::Between;
                break;
            }
            setExpectedError(error, name, pos, QStringLiteral("either ' or { or whitespace"));
            return {};

        case State::Quoted:
            if (c == u'\'') {
                properties.insert(key, PropertyValue(text, mode, PropertyValue::String));
                state = State::Between;
            } else if (c == u'\\') {
                ++pos;
                if (pos >= size) {
                    error = QStringLiteral("Object name %1 unexpectedly ends in backslash at "
                                           "column %2")
                                .arg(name, QString::number(pos - 1));
                    return {};
                }
                text += name[pos];
            } else {
                text += c;
            }
            break;
        }
    }
    return properties;
}

bool propertiesEqual(const PropertyMap &a, const PropertyMap &b)
{
    if (a.size() != b.size())
        return false;
    for (auto it = a.cbegin(); it != a.cend(); ++it) {
        const auto found = b.constFind(it.key());
        if (found == b.cend() || *found != it.value())
            return false;
    }
    return true;
}

} // namespace

QMap<QString, PropertyValue> parseObjectNameAt(const QString &name, qsizetype &pos, QString &error)
{
    return parseNameAt(name, pos, error, 1);
}

bool isMultiPropertyName(const QString &name)
{
    return name.startsWith(u'{') && name.endsWith(u'}');
}

QMap<QString, PropertyValue> parseNameByProperties(const QString &name, QString *errorOut)
{
    QString error;
    PropertyMap properties;
    const QString trimmed = name.trimmed();
    if (!isMultiPropertyName(trimmed)) {
        error = QStringLiteral("Not a multi-property string: %1").arg(name);
    } else {
        qsizetype pos = 0;
        properties = parseObjectNameAt(trimmed, pos, error);
        if (error.isEmpty() && pos >= trimmed.size()) {
            error = QStringLiteral("Object name '%1' ended unexpectedly at column %2")
                        .arg(trimmed, QString::number(pos));
        } else if (error.isEmpty() && pos < trimmed.size() - 1) {
            error = QStringLiteral("Error parsing object name %1 (trimmed: %2). Parsed %3 "
                                   "characters, but name still has %4 more to parse")
                        .arg(name, trimmed, QString::number(pos),
                             QString::number(trimmed.size() - pos - 1));
        }
    }
    if (!error.isEmpty())
        properties.clear();
    if (errorOut)
        *errorOut = error;
    return properties;
}

QString escapePropertyValue(const QString &value)
{
    QString escaped = value;
    escaped.replace(u'\\', QLatin1String("\\\\"));
    escaped.replace(u'\'', QLatin1String("\\'"));
    return escaped;
}

QString qualifiedNameFromProperties(const QMap<QString, PropertyValue> &properties)
{
    QString name(u'{');
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        if (it != properties.cbegin())
            name += u' ';
        name += it.key();
        name += PropertyValue::operatorText(it->matchingMode());
        if (it->isObject()) {
            name += it->stringValue();
        } else {
            name += u'\'';
            name += escapePropertyValue(it->stringValue());
            name += u'\'';
        }
    }
    name += u'}';
    return name;
}

bool qualifiedNamesEqual(const QString &a, const QString &b)
{
    // Blanks around a name are trimmed before parsing, so they must not decide whether
    // a name is compared as text either; ObjectName's equality agrees.
    if (!isMultiPropertyName(a.trimmed()) || !isMultiPropertyName(b.trimmed()))
        return a == b;
    if (a == b)
        return true;
    // Names that fail to parse have no properties, and so compare equal to each other.
    return propertiesEqual(parseNameByProperties(a, nullptr), parseNameByProperties(b, nullptr));
}

ObjectName::ObjectName(const QString &qualifiedName)
    : m_qualifiedName(qualifiedName), m_state(StringValid)
{}

ObjectName::ObjectName(const QMap<QString, PropertyValue> &properties)
    : m_properties(properties), m_state(PropertiesValid)
{}

void ObjectName::ensureString() const
{
    if ((m_state & StringValid) || !(m_state & PropertiesValid))
        return;
    m_qualifiedName = qualifiedNameFromProperties(m_properties);
    m_state |= StringValid;
}

void ObjectName::ensureProperties() const
{
    if ((m_state & (PropertiesValid | Examined)) || !(m_state & StringValid))
        return;
    m_state |= Examined;
    if (m_qualifiedName.isEmpty()) {
        m_errorMessage = QStringLiteral("Empty string is not a valid object name.");
        return;
    }
    if (isMultiPropertyName(m_qualifiedName.trimmed())) {
        m_properties = parseNameByProperties(m_qualifiedName, &m_errorMessage);
        if (m_errorMessage.isEmpty())
            m_state |= PropertiesValid;
        return;
    }
    // Hierarchical names are the wrappers' business, but a brace at either end almost
    // always is a multi-property name that lost its other half.
    if (m_qualifiedName.startsWith(u'{') || m_qualifiedName.endsWith(u'}')) {
        m_errorMessage =
            QStringLiteral("Hierarchical names must not start with '{' or end in '}': ") +
            m_qualifiedName;
    }
}

QString ObjectName::qualifiedName() const
{
    ensureString();
    return m_qualifiedName;
}

QMap<QString, PropertyValue> ObjectName::properties() const
{
    ensureProperties();
    return m_properties;
}

PropertyValue ObjectName::property(const QString &key) const
{
    ensureProperties();
    return m_properties.value(key);
}

void ObjectName::setProperty(const QString &key, const PropertyValue &value)
{
    ensureProperties();
    m_properties.insert(key, value);
    // The properties are the name now; an error about the old string no longer applies.
    m_state = PropertiesValid;
    m_errorMessage.clear();
}

void ObjectName::removeProperty(const QString &key)
{
    ensureProperties();
    m_properties.remove(key);
    m_state = PropertiesValid;
    m_errorMessage.clear();
}

bool ObjectName::isEmpty() const
{
    ensureProperties();
    if (m_state & PropertiesValid)
        return m_properties.isEmpty();
    return m_qualifiedName.isEmpty();
}

bool ObjectName::isValid() const
{
    ensureProperties();
    return m_errorMessage.isEmpty();
}

QString ObjectName::errorMessage() const
{
    ensureProperties();
    return m_errorMessage;
}

bool ObjectName::isMultiProperty() const
{
    ensureProperties();
    return m_errorMessage.isEmpty() && (m_state & PropertiesValid);
}

int ObjectName::occurrenceValue() const
{
    const QString text = property(QStringLiteral("occurrence")).stringValue();
    if (text.isEmpty())
        return 1;
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    return ok && value >= 1 ? value : -1;
}

bool operator==(const ObjectName &a, const ObjectName &b)
{
    a.ensureString();
    b.ensureString();
    if (a.m_qualifiedName == b.m_qualifiedName)
        return true;
    if (!a.isMultiProperty() || !b.isMultiProperty())
        return false;
    return propertiesEqual(a.m_properties, b.m_properties);
}

bool operator<(const ObjectName &a, const ObjectName &b)
{
    const bool aMulti = a.isMultiProperty();
    const bool bMulti = b.isMultiProperty();
    if (aMulti != bMulti)
        return !aMulti;
    if (!aMulti) {
        a.ensureString();
        b.ensureString();
        return a.m_qualifiedName < b.m_qualifiedName;
    }
    // Lexicographic over (key, mode, text), the parts that operator== looks at.
    auto ia = a.m_properties.cbegin();
    auto ib = b.m_properties.cbegin();
    for (; ia != a.m_properties.cend() && ib != b.m_properties.cend(); ++ia, ++ib) {
        if (ia.key() != ib.key())
            return ia.key() < ib.key();
        if (ia->matchingMode() != ib->matchingMode())
            return ia->matchingMode() < ib->matchingMode();
        if (ia->stringValue() != ib->stringValue())
            return ia->stringValue() < ib->stringValue();
    }
    return ia == a.m_properties.cend() && ib != b.m_properties.cend();
}

} // namespace Tolvex
