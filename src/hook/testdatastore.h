#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <utility>

namespace Tolvex {

// Files a test script puts on the AUT's machine and fetches back. Everything
// written, and every directory made for it, is remembered so that cleanup()
// leaves the machine as it was. Failures are set as the Inspector's error,
// where the script reads them.
class TestDataStore
{
public:
    // Writes the encoded data to path (creating missing directories) and
    // answers the file's absolute path, or an empty string on failure.
    // The first character of data says whether the byte count is even ("1")
    // or odd ("0"); every further character carries two bytes, low first,
    // except the last of an odd count, which carries one.
    QString put(const QString &path, const QString &data, bool append);
    // The file's bytes, or an error text.
    std::pair<QByteArray, QString> get(const QString &path) const;
    bool remove(const QString &path) const;
    bool exists(const QString &path) const;
    // Removes the files written and the directories made, deepest first.
    // The records stay, so a second cleanup finds nothing left to remove.
    void cleanup() const;

    QStringList files() const { return m_files; }
    QStringList directories() const { return m_dirs; }

    static QByteArray decode(const QString &data);

private:
    void checkAndMakeDir(const QString &path);

    QStringList m_files;
    QStringList m_dirs; // deepest first
};

} // namespace Tolvex
