// The server's view of the application's classes, read from the bytes the
// agent sends for them.
#include "classcatalogue.h"

#include "objecthandles.h"
#include "testtoolkit.h"

#include <gtest/gtest.h>

namespace {

using namespace Tolvex;
using TestToolkit::MethodInfo;
using TestToolkit::primitive;
using TestToolkit::PropertyInfo;
using TestToolkit::TestClass;

struct Family
{
    TestClass *base;
    TestClass *derived;
};

// A base with "value" and "reset", a derived class that adds "label", a
// second "reset" taking an argument, and its own "value" of another type.
Family makeFamily(const char *baseName, const char *derivedName)
{
    auto *base = new TestClass(baseName, nullptr, {{QStringLiteral("reset"), {}, nullptr}},
                               {{QStringLiteral("value"), primitive(IntClassId)},
                                {QStringLiteral("enabled"), primitive(BoolClassId)}});
    auto *derived = new TestClass(derivedName, base,
                                  {{QStringLiteral("reset"),
                                    {Argument(primitive(IntClassId), ObjectAttribute::Value())},
                                    nullptr}},
                                  {{QStringLiteral("label"), primitive(Int64ClassId)},
                                   {QStringLiteral("value"), primitive(DoubleClassId)}});
    return {base, derived};
}

} // namespace

TEST(ClassCatalogue, FindsMembersAlongTheClassChainByName)
{
    const int first = Inspector::self()->numClasses();
    const Family family = makeFamily("CatalogueBase", "CatalogueDerived");
    ClassCatalogue catalogue;
    QString error;
    ASSERT_TRUE(catalogue.add(ObjectHandles::classesFrom(first), &error)) << qPrintable(error);
    ASSERT_EQ(catalogue.count(), 2);

    const ClassDescription *derived = catalogue.byName(QStringLiteral("CatalogueDerived"));
    ASSERT_NE(derived, nullptr);
    EXPECT_EQ(derived->id, family.derived->id());
    EXPECT_EQ(catalogue.lineage(derived->id),
              QStringList({QStringLiteral("CatalogueDerived"), QStringLiteral("CatalogueBase")}));

    // The nearest class wins: the derived "value" hides the base's, while
    // "enabled" is only found on the base, with the base's member id.
    const Property *value = catalogue.property(derived->id, QStringLiteral("value"));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->id(), family.derived->property(QStringLiteral("value"))->id());
    const Property *enabled = catalogue.property(derived->id, QStringLiteral("enabled"));
    ASSERT_NE(enabled, nullptr);
    EXPECT_EQ(enabled->id(), family.base->property(QStringLiteral("enabled"))->id());
    EXPECT_EQ(catalogue.property(derived->id, QStringLiteral("missing")), nullptr);
    EXPECT_EQ(
        catalogue.propertyNames(derived->id),
        QStringList({QStringLiteral("label"), QStringLiteral("value"), QStringLiteral("enabled")}));

    // Overloads by argument count: one argument is the derived one, none
    // the base's; any count takes the nearest.
    const Method *withArgument = catalogue.method(derived->id, QStringLiteral("reset"), 1);
    const Method *without = catalogue.method(derived->id, QStringLiteral("reset"), 0);
    ASSERT_NE(withArgument, nullptr);
    ASSERT_NE(without, nullptr);
    EXPECT_NE(withArgument->id(), without->id());
    EXPECT_EQ(catalogue.method(derived->id, QStringLiteral("reset"))->id(), withArgument->id());
    EXPECT_EQ(catalogue.method(derived->id, QStringLiteral("reset"), 2), nullptr);
    EXPECT_EQ(catalogue.property(-5, QStringLiteral("value")), nullptr);
}

TEST(ClassCatalogue, KeepsWhatItReadWhenTheBytesBreakOff)
{
    const int first = Inspector::self()->numClasses();
    makeFamily("BrokenBase", "BrokenDerived");
    const QByteArray bytes = ObjectHandles::classesFrom(first);
    const QByteArray firstClass = ObjectHandles::classesFrom(first).left(qsizetype(
        ObjectHandles::classesFrom(first).size() - ObjectHandles::classesFrom(first + 1).size()));

    ClassCatalogue catalogue;
    QString error;
    EXPECT_FALSE(catalogue.add(bytes.left(bytes.size() - 3), &error));
    EXPECT_EQ(error, QStringLiteral("The class list breaks off after 1 classes"));
    EXPECT_NE(catalogue.byName(QStringLiteral("BrokenBase")), nullptr);
    EXPECT_EQ(catalogue.byName(QStringLiteral("BrokenDerived")), nullptr);

    // The rest arriving later completes the chain.
    EXPECT_TRUE(catalogue.add(bytes.mid(firstClass.size())));
    const ClassDescription *derived = catalogue.byName(QStringLiteral("BrokenDerived"));
    ASSERT_NE(derived, nullptr);
    EXPECT_NE(catalogue.property(derived->id, QStringLiteral("enabled")), nullptr);
    EXPECT_TRUE(catalogue.add(QByteArray()));
    EXPECT_EQ(catalogue.count(), 2);
}
