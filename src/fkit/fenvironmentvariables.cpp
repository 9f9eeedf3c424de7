#include "fenvironmentvariables.h"

#include "fprocessplatform_p.h"

namespace {

QString fromNative(const FProcessPlatform::NativeString &s)
{
#ifdef _WIN32
    return QString::fromStdWString(s);
#else
    return QString::fromLocal8Bit(s.data(), qsizetype(s.size()));
#endif
}

const QChar PathSeparator = u';';

} // namespace

FEnvironmentVariables::FEnvironmentVariables(bool inherit)
{
    if (!inherit)
        return;
    for (const FProcessPlatform::NativeString &line : FProcessPlatform::processEnvironment())
        rawSetenv(fromNative(line));
}

void FEnvironmentVariables::rawSetenv(const QString &line)
{
    const qsizetype eq = line.indexOf(u'=');
    if (eq < 0)
        return;
    // Windows names are case-insensitive: of two lines that differ only in
    // case, the first one seen is the one that counts.
    const QString name = line.left(eq).toUpper();
    if (m_values.contains(name))
        return;
    m_values.insert(name, line.mid(eq + 1));
}

void FEnvironmentVariables::setValue(const QString &name, const QString &value)
{
    m_values.insert(name, value);
}

void FEnvironmentVariables::setValue(const QString &name, int value)
{
    m_values.insert(name, QString::number(value));
}

QString FEnvironmentVariables::getValue(const QString &name) const
{
    return m_values.value(name);
}

bool FEnvironmentVariables::hasValue(const QString &name) const
{
    return m_values.contains(name);
}

void FEnvironmentVariables::unsetKey(const QString &name)
{
    m_values.remove(name);
}

QList<QString> FEnvironmentVariables::getPathValue(const QString &name) const
{
    const QString value = m_values.value(name);
    if (value.isEmpty())
        return {};
    return value.split(PathSeparator);
}

void FEnvironmentVariables::appendPathValue(const QString &name, const QString &value)
{
    const QString old = m_values.value(name);
    if (old.isEmpty())
        m_values.insert(name, value);
    else if (old.endsWith(PathSeparator))
        m_values.insert(name, old + value);
    else
        m_values.insert(name, old + PathSeparator + value);
}

void FEnvironmentVariables::prependPathValue(const QString &name, const QString &value)
{
    const QString old = m_values.value(name);
    if (old.isEmpty())
        m_values.insert(name, value);
    else if (old.startsWith(PathSeparator))
        m_values.insert(name, value + old);
    else
        m_values.insert(name, value + PathSeparator + old);
}

QList<QString> FEnvironmentVariables::environment() const
{
    QList<QString> lines;
    lines.reserve(m_values.size());
    for (auto it = m_values.cbegin(); it != m_values.cend(); ++it)
        lines.append(it.key() + u'=' + it.value());
    return lines;
}
