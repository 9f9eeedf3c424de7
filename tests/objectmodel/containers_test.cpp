#include "flist.h"
#include "fvector.h"
#include "objectattribute.h"
#include "shared.h"

#include <QString>

#include <gtest/gtest.h>

using namespace Tolvex;

TEST(FList, KeepsOrderAndFindsFromBothEnds)
{
    FList<int> list;
    list << 2 << 3;
    list.prepend(1);
    list.append(2);
    list.insert(1, 9); // 1 9 2 3 2
    ASSERT_EQ(list.count(), 5);
    EXPECT_EQ(list.at(0), 1);
    EXPECT_EQ(list.at(1), 9);
    EXPECT_EQ(list.first(), 1);
    EXPECT_EQ(list.last(), 2);
    EXPECT_EQ(list.findIndex(2), 2);
    EXPECT_EQ(list.findIndex(7), -1);
    EXPECT_TRUE(list.contains(3));
    // findRev finds the last 2, find the first: they are different nodes.
    EXPECT_NE(list.find(2), list.findRev(2));
    EXPECT_EQ(list.remove(2), 2);
    EXPECT_EQ(list.count(), 3);
    list.insert(42, 5); // past the end appends
    EXPECT_EQ(list.last(), 5);
}

TEST(FList, CopiesMovesAndComparesByValue)
{
    FList<QString> a;
    a << QStringLiteral("x") << QStringLiteral("y");
    FList<QString> b(a);
    EXPECT_TRUE(a == b);
    b.append(QStringLiteral("z"));
    EXPECT_TRUE(a != b);
    FList<QString> c(std::move(b));
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(c.count(), 3);
    a = c;
    EXPECT_EQ(a.at(2), QStringLiteral("z"));
    a.removeIf([](const QString &s) { return s != QLatin1String("y"); });
    EXPECT_EQ(a.count(), 1);
    EXPECT_EQ(a.first(), QStringLiteral("y"));
    a.clear();
    EXPECT_TRUE(a.empty());
}

TEST(FVector, ResizesToExactSizeKeepingThePrefix)
{
    FVector<int> v(3);
    EXPECT_EQ(v.count(), 3);
    EXPECT_EQ(v[2], 0);
    v[0] = 1;
    v[1] = 2;
    v.resize(1);
    v.append(7);
    ASSERT_EQ(v.count(), 2);
    EXPECT_EQ(v[0], 1);
    EXPECT_EQ(v[1], 7);
    FVector<int> w = v;
    w[0] = 5;
    EXPECT_EQ(v[0], 1);
    v.resize(-4);
    EXPECT_TRUE(v.isEmpty());
}

namespace {
struct Counted : Shared
{
    explicit Counted(int *deaths) : deaths(deaths) {}
    ~Counted() override { ++*deaths; }
    int *deaths;
};
} // namespace

TEST(SharedPtr, DeletesWhenTheLastReferenceGoes)
{
    int deaths = 0;
    {
        SharedPtr<Counted> a(new Counted(&deaths));
        EXPECT_EQ(a->refCount(), 1);
        SharedPtr<Shared> b = a;
        EXPECT_EQ(a->refCount(), 2);
        SharedPtr<Counted> c;
        c = a;
        SharedPtr<Counted> &alias = c;
        c = alias; // self-assignment keeps the object
        EXPECT_EQ(a->refCount(), 3);
        SharedPtr<Counted> moved(std::move(c));
        EXPECT_TRUE(c.isNull());
        EXPECT_EQ(a->refCount(), 3);
        EXPECT_TRUE(b == a);
    }
    EXPECT_EQ(deaths, 1);
}

TEST(ObjectAttribute, PredicatesAndTolerantMatching)
{
    EXPECT_TRUE(ObjectAttribute::Value().isValue());
    EXPECT_TRUE(ObjectAttribute::Reference().isValue() == false);
    EXPECT_TRUE(ObjectAttribute::Pointer().isPointer());
    const ObjectAttribute array = ObjectAttribute::Array(4);
    EXPECT_EQ(array.getFlags(), 16u);
    EXPECT_EQ(array.arrayLength(), 4);
    EXPECT_TRUE(array.isValue());
    const ObjectAttribute constRef(1 | 4, 0);
    EXPECT_TRUE(constRef.hasConst());
    EXPECT_TRUE(constRef.isConst1());
    EXPECT_FALSE(constRef.isConst2());
    EXPECT_NE(ObjectAttribute::Array(3), ObjectAttribute::Array(4));

    // Value and reference stand in for each other; pointer and array only
    // for each other.
    EXPECT_TRUE(ObjectAttribute::Value().tolerantMatch(ObjectAttribute::Reference()));
    EXPECT_FALSE(ObjectAttribute::Value().tolerantMatch(ObjectAttribute::Pointer()));
    EXPECT_TRUE(ObjectAttribute::Pointer().tolerantMatch(ObjectAttribute(18, 2)));
    EXPECT_FALSE(ObjectAttribute::Pointer().tolerantMatch(ObjectAttribute::Reference()));
    // An array with neither bit 0 nor 1 counts as a value.
    EXPECT_TRUE(ObjectAttribute::Array(2).tolerantMatch(ObjectAttribute::Value()));
}
