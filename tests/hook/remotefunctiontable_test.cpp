#include "remotefunctiontable.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace Tolvex;

TEST(RemoteFunctionTable, NamesResolveExactlyAndEveryNumberIsOneFunction)
{
    QSet<QString> names;
    int served = 0;
    for (int id = 0; id < RemoteFunctionTable::Unknown; ++id) {
        const RemoteFunctionInfo *f = RemoteFunctionTable::info(id);
        if (!f)
            continue;
        ++served;
        EXPECT_EQ(f->id, id);
        const QString name = QString::fromLatin1(f->name);
        EXPECT_FALSE(names.contains(name)) << f->name;
        names.insert(name);
        EXPECT_EQ(RemoteFunctionTable::id(name), id) << f->name;
    }
    EXPECT_EQ(served, RemoteFunctionTable::Count);
    EXPECT_EQ(RemoteFunctionTable::info(116), nullptr);
    EXPECT_EQ(RemoteFunctionTable::info(133), nullptr);
    EXPECT_EQ(RemoteFunctionTable::info(-1), nullptr);

    EXPECT_EQ(RemoteFunctionTable::id(QStringLiteral("getProperty")), 11);
    EXPECT_EQ(RemoteFunctionTable::id(QStringLiteral("GetProperty")), RemoteFunctionTable::Unknown);
    EXPECT_EQ(RemoteFunctionTable::id(QStringLiteral("getproperty")), RemoteFunctionTable::Unknown);
    EXPECT_EQ(RemoteFunctionTable::id(QString()), RemoteFunctionTable::Unknown);
    // The stream function keeps its spelling.
    EXPECT_EQ(RemoteFunctionTable::id(QStringLiteral("reasumeBinaryStream")), 128);

    EXPECT_EQ(RemoteFunctionTable::info(11)->symbol(), QStringLiteral("F_GetProperty"));
    EXPECT_EQ(RemoteFunctionTable::info(46)->kind, RemoteFunctionInfo::Send);
    EXPECT_EQ(RemoteFunctionTable::info(122)->kind, RemoteFunctionInfo::AsyncCall);
    EXPECT_EQ(RemoteFunctionTable::info(61)->kind, RemoteFunctionInfo::Unserved); // ping
    EXPECT_EQ(RemoteFunctionTable::info(86)->kind, RemoteFunctionInfo::Unserved);
}

TEST(RemoteFunctionTable, ArgumentCountsAndTheirMessages)
{
    auto accepts = [](const char *name, int n) {
        return RemoteFunctionTable::info(RemoteFunctionTable::id(QString::fromLatin1(name)))
            ->acceptsArgumentCount(n);
    };
    EXPECT_TRUE(accepts("numObjects", 1));
    EXPECT_FALSE(accepts("numObjects", 0));
    EXPECT_FALSE(accepts("numObjects", 2));
    EXPECT_FALSE(accepts("invoke", 1));
    EXPECT_TRUE(accepts("invoke", 2));
    EXPECT_TRUE(accepts("invoke", 9));
    EXPECT_FALSE(accepts("highlightObject", 0));
    EXPECT_TRUE(accepts("highlightObject", 2));
    EXPECT_FALSE(accepts("highlightObject", 3));
    EXPECT_TRUE(accepts("numClasses", 5)); // not checked
    EXPECT_TRUE(accepts("mousePress", 8));
    EXPECT_FALSE(accepts("mousePress", 7));
    EXPECT_TRUE(accepts("getExtraKeys", 1));
    EXPECT_FALSE(accepts("getExtraKeys", 0));

    EXPECT_EQ(RemoteFunctionTable::wrongCountMessage(11, "handleCall"),
              QStringLiteral("Hook::handleCall: F_GetProperty: wrong number of arguments"));
    EXPECT_EQ(
        RemoteFunctionTable::wrongCountMessage(40, "handleSend"),
        QStringLiteral("Hook::handleSend: F_RemoteObjectDestroyed: wrong number of arguments"));
    // The functions that word it their own way.
    EXPECT_EQ(RemoteFunctionTable::wrongCountMessage(28, "handleCall"),
              QStringLiteral("Hook::handleCall: F_ObjectReady: wrong number of arguments"));
    EXPECT_EQ(RemoteFunctionTable::wrongCountMessage(95, "handleCall"),
              QStringLiteral("Hook::handleCall: F_SetRecordFilter: wrong number of arguments"));
    EXPECT_EQ(RemoteFunctionTable::wrongCountMessage(105, "handleCall"),
              QStringLiteral("Hook::handleCall: F_KeyPress: number of arguments is wrong"));
    EXPECT_EQ(RemoteFunctionTable::wrongCountMessage(118, "handleCall"),
              QStringLiteral("Hook::handleCall: F_RawMouseEvent: wrong number of arguments"));
    EXPECT_EQ(RemoteFunctionTable::wrongCountMessage(119, "handleCall"),
              QStringLiteral("Hook::handleCall: F_RawKeyEvent: wrong number of arguments"));
    EXPECT_EQ(
        RemoteFunctionTable::wrongCountMessage(125, "handleCall"),
        QStringLiteral("Hook::handleSend: F_ConfigureBinaryStream: wrong number of arguments"));
}
