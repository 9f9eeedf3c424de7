#pragma once

#include <QList>
#include <QMap>
#include <QString>

// A set of environment variables, ordered by name. Lookups are case-sensitive;
// names taken from the process environment are stored in upper case, the way
// Windows treats them, while names given to setValue stay as they are.
class FEnvironmentVariables
{
public:
    // With inherit, starts from the environment of this process.
    explicit FEnvironmentVariables(bool inherit);

    void setValue(const QString &name, const QString &value);
    void setValue(const QString &name, int value);
    QString getValue(const QString &name) const;
    bool hasValue(const QString &name) const;
    void unsetKey(const QString &name);

    // The value split at ";"; empty for an absent or empty value.
    QList<QString> getPathValue(const QString &name) const;
    void appendPathValue(const QString &name, const QString &value);
    void prependPathValue(const QString &name, const QString &value);

    // Lines of name, "=" and value, for FProcess::start.
    QList<QString> environment() const;

private:
    void rawSetenv(const QString &line);

    QMap<QString, QString> m_values;
};
