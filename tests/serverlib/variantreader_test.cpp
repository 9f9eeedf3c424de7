#include "variantreader.h"

#include <QDateTime>
#include <QIODevice>
#include <QRect>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

QByteArray written(const QVariant &v)
{
    QByteArray b;
    QDataStream s(&b, QIODevice::WriteOnly);
    s.setVersion(6);
    s << v;
    return b;
}

QVariant readBack(const QByteArray &bytes, QDataStream::Status *status = nullptr)
{
    QDataStream s(bytes);
    s.setVersion(6);
    QVariant v;
    readVariant(s, &v);
    if (status)
        *status = s.status();
    return v;
}

QVariant nested(int levels)
{
    QVariant v = 1;
    for (int i = 0; i < levels; ++i)
        v = QVariantList{v};
    return v;
}

} // namespace

TEST(VariantReader, ReadsWhatQtWritesAtTheWireVersion)
{
    const QVariantMap map{{QStringLiteral("a"), 1},
                          {QStringLiteral("b"), QVariantList{QStringLiteral("x"), 2.5, true}}};
    const QList<QVariant> values = {
        42,
        QVariant(uint(7)),
        qlonglong(-1234567890123LL),
        qulonglong(1234567890123ULL),
        true,
        3.25,
        QStringLiteral("text"),
        QString(),
        QByteArray("\0\1\2", 3),
        QStringList{QStringLiteral("one"), QString(), QStringLiteral("three")},
        QVariantList{1, QStringLiteral("two"), QVariantList{3}},
        map,
        QRect(1, 2, 3, 4),
        QPoint(-5, 6),
        QSize(7, 8),
        QDate(2026, 11, 23),
        QDateTime(QDate(2001, 2, 3), QTime(4, 5, 6)),
        nested(MaxVariantNesting),
    };
    for (const QVariant &v : values) {
        QDataStream::Status status;
        const QVariant back = readBack(written(v), &status);
        EXPECT_EQ(status, QDataStream::Ok) << v.typeName();
        EXPECT_EQ(back, v) << v.typeName();
    }
    // Types this stream version cannot carry come back invalid, as Qt's
    // reader gives them, and the stream stays usable.
    QDataStream::Status status;
    EXPECT_FALSE(readBack(written(QVariant::fromValue(QPointF(1, 2))), &status).isValid());
    EXPECT_EQ(status, QDataStream::Ok);
}

TEST(VariantReader, HostileCountsAndNestingFailInsteadOfExhaustingMemoryOrStack)
{
    QDataStream::Status status;
    // A list that announces four billion elements and holds one.
    const QByteArray hugeList = QByteArray::fromHex("00000002fffffffe") + written(1);
    EXPECT_FALSE(readBack(hugeList, &status).isValid());
    EXPECT_EQ(status, QDataStream::ReadPastEnd);

    EXPECT_FALSE(readBack(QByteArray::fromHex("00000004fffffff0"), &status).isValid());
    EXPECT_EQ(status, QDataStream::ReadPastEnd);
    EXPECT_FALSE(readBack(QByteArray::fromHex("00000001fffffff0"), &status).isValid());
    EXPECT_EQ(status, QDataStream::ReadPastEnd);

    // One level deeper than allowed, and far deeper as a raw byte pattern.
    EXPECT_FALSE(readBack(written(nested(MaxVariantNesting + 1)), &status).isValid());
    EXPECT_EQ(status, QDataStream::ReadCorruptData);
    QByteArray deep;
    for (int i = 0; i < 200000; ++i)
        deep += QByteArray::fromHex("0000000200000001");
    EXPECT_FALSE(readBack(deep, &status).isValid());
    EXPECT_EQ(status, QDataStream::ReadCorruptData);

    // A type number past the table reads as an invalid value.
    EXPECT_FALSE(readBack(QByteArray::fromHex("00001000"), &status).isValid());
    EXPECT_EQ(status, QDataStream::Ok);

    // Pixmaps, bitmaps, cursors and icons would abort a process without a
    // GUI application, such as this one, as soon as they were made. Where
    // the GUI library is not loaded at all the types are unknown and read as
    // their placeholder; either way nothing is made.
    for (const char *guiValue :
         {"0000000600000000", "0000001700000000", "0000001800000000", "0000000d00000000"}) {
        EXPECT_FALSE(readBack(QByteArray::fromHex(guiValue), &status).isValid()) << guiValue;
        EXPECT_NE(status, QDataStream::ReadPastEnd) << guiValue;
    }
}
