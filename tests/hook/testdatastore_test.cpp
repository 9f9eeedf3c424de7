#include "testdatastore.h"

#include "inspector.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

// The encoding a server uses: "1" or "0" for an even or odd count, then two
// bytes a character, low byte first.
QString encode(const QByteArray &bytes)
{
    QString s(bytes.size() % 2 ? QStringLiteral("0") : QStringLiteral("1"));
    for (qsizetype i = 0; i < bytes.size(); i += 2) {
        const uchar low = uchar(bytes[i]);
        const uchar high = i + 1 < bytes.size() ? uchar(bytes[i + 1]) : 0;
        s.append(QChar(ushort(low | (high << 8))));
    }
    return s;
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

} // namespace

TEST(TestDataStore, DecodesEvenAndOddCounts)
{
    EXPECT_TRUE(TestDataStore::decode(QStringLiteral("1")).isEmpty());
    EXPECT_EQ(TestDataStore::decode(QStringLiteral("0") + QChar(0x4241)), QByteArray("A"));
    EXPECT_EQ(TestDataStore::decode(QStringLiteral("1") + QChar(0x4241)), QByteArray("AB"));
    const QByteArray binary("\x00\xff\x10\x80\x7f", 5);
    EXPECT_EQ(TestDataStore::decode(encode(binary)), binary);
    EXPECT_TRUE(TestDataStore::decode(QStringLiteral("0")).isEmpty());
}

TEST(TestDataStore, PutGetAppendAndCleanUpWhatWasMade)
{
    QTemporaryDir tmp;
    ASSERT_TRUE(tmp.isValid());
    TestDataStore store;
    const QString deep = tmp.filePath(QStringLiteral("a/b/c/data.bin"));
    const QString written = store.put(deep, encode("hello"), false);
    EXPECT_EQ(written, QFileInfo(deep).absoluteFilePath());
    EXPECT_EQ(readFile(deep), QByteArray("hello"));
    ASSERT_EQ(store.directories().size(), 3);
    EXPECT_TRUE(store.directories().first().endsWith(QStringLiteral("a/b/c"))); // deepest first

    // Appending adds to the file and records it again.
    store.put(deep, encode(" world"), true);
    EXPECT_EQ(readFile(deep), QByteArray("hello world"));
    EXPECT_EQ(store.files().size(), 2);
    auto [bytes, error] = store.get(deep);
    EXPECT_EQ(bytes, QByteArray("hello world"));
    EXPECT_TRUE(error.isEmpty());

    // A directory that holds a file of someone else's stays.
    {
        QFile foreign(tmp.filePath(QStringLiteral("a/foreign.txt")));
        ASSERT_TRUE(foreign.open(QIODevice::WriteOnly));
    }
    store.cleanup();
    EXPECT_FALSE(QFile::exists(deep));
    EXPECT_FALSE(QDir(tmp.filePath(QStringLiteral("a/b"))).exists());
    EXPECT_TRUE(QDir(tmp.filePath(QStringLiteral("a"))).exists());
    store.cleanup(); // again: nothing left, nothing said

    // Failures reach the script through the Inspector.
    Inspector::self()->lastError();
    EXPECT_TRUE(
        store.put(tmp.filePath(QStringLiteral("x.bin")), QStringLiteral("2abc"), false).isEmpty());
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("Incorrect test data format"));
    EXPECT_TRUE(
        store.put(tmp.path() + QStringLiteral("/x.bin/inside"), encode("z"), false).isEmpty());
    EXPECT_TRUE(Inspector::self()->lastError().startsWith(QStringLiteral("Failed to open file '")));
    auto [none, why] = store.get(tmp.filePath(QStringLiteral("missing.bin")));
    EXPECT_TRUE(none.isEmpty());
    EXPECT_FALSE(why.isEmpty());

    // A bare file name goes to the working directory and makes no directory.
    const QString before = QDir::currentPath();
    QDir::setCurrent(tmp.path());
    TestDataStore local;
    EXPECT_EQ(local.put(QStringLiteral("plain.txt"), encode("x"), false),
              QDir(tmp.path()).absoluteFilePath(QStringLiteral("plain.txt")));
    EXPECT_TRUE(local.directories().isEmpty());
    EXPECT_TRUE(local.exists(QStringLiteral("plain.txt")));
    EXPECT_TRUE(local.remove(QStringLiteral("plain.txt")));
    QDir::setCurrent(before);
}
