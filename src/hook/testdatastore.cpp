#include "testdatastore.h"

#include "inspector.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Tolvex {

QByteArray TestDataStore::decode(const QString &data)
{
    QByteArray bytes;
    if (data.size() < 2)
        return bytes;
    const bool odd = data.front() == QLatin1Char('0');
    bytes.reserve((data.size() - 1) * 2);
    for (qsizetype i = 1; i < data.size(); ++i) {
        const QChar c = data.at(i);
        bytes.append(char(c.cell()));
        if (!(odd && i == data.size() - 1))
            bytes.append(char(c.row()));
    }
    return bytes;
}

void TestDataStore::checkAndMakeDir(const QString &path)
{
    if (!path.contains(QLatin1Char('/')))
        return;
    QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (!parts.isEmpty())
        parts.removeLast(); // the file itself
    // An absolute path keeps its root; the parts are walked below it.
    QString walked = path.startsWith(QLatin1Char('/')) ? QStringLiteral("/") : QString();
    for (const QString &part : parts) {
        const QString dir = walked + part;
        if (!QDir(dir).exists()) {
            QDir().mkdir(dir);
            m_dirs.prepend(dir);
        }
        walked = dir + QLatin1Char('/');
    }
}

QString TestDataStore::put(const QString &path, const QString &data, bool append)
{
    checkAndMakeDir(path);
    QFile file(path);
    const QIODevice::OpenMode mode =
        append ? (QIODevice::WriteOnly | QIODevice::Append) : QIODevice::WriteOnly;
    if (!file.open(mode)) {
        Inspector::self()->setError(
            QStringLiteral("Failed to open file '%1': %2").arg(path, file.errorString()));
        return QString();
    }
    if (!data.isEmpty() && data.front() != QLatin1Char('0') && data.front() != QLatin1Char('1')) {
        Inspector::self()->setError(QStringLiteral("Incorrect test data format"));
        return QString();
    }
    file.write(decode(data));
    const QString absolute = QFileInfo(file).absoluteFilePath();
    m_files.append(absolute);
    return absolute;
}

std::pair<QByteArray, QString> TestDataStore::get(const QString &path) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {QByteArray(), file.errorString()};
    // Empty, not null: on the wire the two are different bytes.
    if (file.size() <= 0)
        return {QByteArray(""), QString()};
    const QByteArray bytes = file.readAll();
    if (bytes.isNull())
        return {QByteArray(), QStringLiteral("Failed to read from file, unknown error occured")};
    return {bytes, QString()};
}

bool TestDataStore::remove(const QString &path) const
{
    return QFile::remove(path);
}

bool TestDataStore::exists(const QString &path) const
{
    return QFile::exists(path);
}

void TestDataStore::cleanup() const
{
    for (const QString &file : m_files)
        QFile::remove(file);
    for (const QString &dir : m_dirs) {
        const qsizetype slash = dir.lastIndexOf(QLatin1Char('/'));
        if (slash < 0)
            QDir().rmdir(dir);
        else
            QDir(dir.left(slash).isEmpty() ? QStringLiteral("/") : dir.left(slash))
                .rmdir(dir.mid(slash + 1));
    }
}

} // namespace Tolvex
