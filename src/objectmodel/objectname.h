#pragma once

#include "propertyvalue.h"
#include "tolvexexport.h"

#include <QMap>
#include <QString>

namespace Tolvex {

// Nested names deeper than this are refused with an error, so hostile input cannot
// exhaust the stack. Real names nest a handful of levels.
inline constexpr int MaxObjectNameNesting = 64;

// Starts with '{' and ends with '}'; nothing more is checked.
TOLVEX_EXPORT bool isMultiPropertyName(const QString &name);

// Parses "{key='value' key2~='regexp' key3?='wild*' key4={nested}}". On failure the map
// is empty and *error (if given) holds the reason; "{}" gives an empty map and no error.
TOLVEX_EXPORT QMap<QString, PropertyValue> parseNameByProperties(const QString &name,
                                                                 QString *error);

// The canonical text: keys in ascending order, one blank between properties.
TOLVEX_EXPORT QString qualifiedNameFromProperties(const QMap<QString, PropertyValue> &properties);

// Equality of two names as text, independent of blanks and key order for
// multi-property names.
TOLVEX_EXPORT bool qualifiedNamesEqual(const QString &a, const QString &b);

// A value as it stands between quotes: backslashes doubled, quotes escaped.
TOLVEX_EXPORT QString escapePropertyValue(const QString &value);

// A name in its string form, its property form or both; the missing form is computed
// on first need, even by const accessors, so an ObjectName must not be shared between
// threads without a lock.
class TOLVEX_EXPORT ObjectName
{
public:
    ObjectName() = default;
    explicit ObjectName(const QString &qualifiedName);
    explicit ObjectName(const QMap<QString, PropertyValue> &properties);

    QString qualifiedName() const;
    QMap<QString, PropertyValue> properties() const;
    PropertyValue property(const QString &key) const;
    void setProperty(const QString &key, const PropertyValue &value);
    void removeProperty(const QString &key);

    bool isEmpty() const;
    bool isValid() const;
    QString errorMessage() const;
    bool isMultiProperty() const;

    // The "occurrence" property: 1 when absent or empty, -1 when unreadable or below 1.
    int occurrenceValue() const;

    friend bool operator==(const ObjectName &a, const ObjectName &b);
    friend bool operator!=(const ObjectName &a, const ObjectName &b) { return !(a == b); }
    // A strict order that agrees with operator==: hierarchical names first, by text,
    // then multi-property names by their properties.
    friend bool operator<(const ObjectName &a, const ObjectName &b);

private:
    enum State {
        StringValid = 1,
        PropertiesValid = 2,
        // The string has been examined for properties, successfully or not; keeps a
        // name that does not parse from being parsed again on every access.
        Examined = 4,
    };

    void ensureString() const;
    void ensureProperties() const;

    mutable QString m_qualifiedName;
    mutable QMap<QString, PropertyValue> m_properties;
    mutable int m_state = 0;
    mutable QString m_errorMessage;
};

} // namespace Tolvex
