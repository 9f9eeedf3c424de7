#include "keysequences.h"
#include "specialkeys.h"

#include <gtest/gtest.h>

#include <set>

using namespace Tolvex;

TEST(SpecialKeys, TableHasItsRowsInOrder)
{
    const QList<QString> names = specialKeyNames();
    ASSERT_EQ(names.size(), 67);
    EXPECT_EQ(names.first(), QStringLiteral("Shift"));
    EXPECT_EQ(names.at(3), QStringLiteral("Alt"));
    EXPECT_EQ(names.at(20), QStringLiteral("NumPad0"));
    EXPECT_EQ(names.at(40), QStringLiteral("F1"));
    EXPECT_EQ(names.last(), QStringLiteral("CapsLock"));
    EXPECT_EQ(std::set<QString>(names.begin(), names.end()).size(), size_t(67));
}

TEST(SpecialKeys, NamesGiveTheirVirtualKeys)
{
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("Shift")), 0x10);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("Return")), 0x0D);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("MenuLeft")), 0xA4);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("Win")), 0x5B);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("WinLeft")), 0x5B);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("F24")), 0x87);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("NumPadDivide")), 0x6F);
}

TEST(SpecialKeys, LookupIsCaseSensitiveAndWhole)
{
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("shift")), -1);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("Shif")), -1);
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("Shift ")), -1);
    EXPECT_EQ(specialKeyVirtualKey(QString()), -1);
    // Outside Latin-1 nothing matches.
    EXPECT_EQ(specialKeyVirtualKey(QStringLiteral("Shift\u0100")), -1);
}

TEST(SpecialKeys, QtAndPlainLookupsAgree)
{
    for (const SpecialKeyTable::Row &row : SpecialKeyTable::Rows)
        EXPECT_EQ(specialKeyVirtualKey(QString::fromLatin1(row.name)),
                  SpecialKeyTable::virtualKey(row.name))
            << row.name;
    static_assert(SpecialKeyTable::virtualKey("Ctrl") == 0x11);
    static_assert(SpecialKeyTable::virtualKey("ctrl") == -1);
}
