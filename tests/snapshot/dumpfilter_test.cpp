// Snapshot filters: their XML with every error and its line, merging, and
// the answers along a class chain with their caching.
#include "dumpfilter.h"
#include "objecttreedump.h"
#include "testtoolkit.h"

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

// Widget <- Button <- PushButton, and Widget <- Label.
struct Classes
{
    TestToolkit::TestClass widget{"FWidget", nullptr};
    TestToolkit::TestClass button{"FButton", &widget};
    TestToolkit::TestClass pushButton{"FPushButton", &button};
    TestToolkit::TestClass label{"FLabel", &widget};
};

Classes &classes()
{
    static Classes c;
    return c;
}

QString parseError(const char *xml)
{
    DumpFilter filter;
    QString error;
    EXPECT_FALSE(parseDumpFilter(QByteArray(xml), &filter, &error)) << xml;
    return error;
}

std::unique_ptr<DumpFilter> parsed(const char *xml)
{
    auto filter = std::make_unique<DumpFilter>();
    QString error;
    EXPECT_TRUE(parseDumpFilter(QByteArray(xml), filter.get(), &error)) << qPrintable(error);
    return filter;
}

bool takes(FilterObject *filter, const char *property, PropertyInfo::Type *type = nullptr)
{
    PropertyInfo info;
    const bool taken = filter->isMatchedProperty(QString::fromLatin1(property), &info);
    if (type)
        *type = info.type;
    return taken;
}

} // namespace

TEST(DumpFilter, BadDocumentsSayWhatAndWhere)
{
    // The parser's own text, and its line counted as the others are.
    EXPECT_TRUE(parseError("<objectdump wrapper='Qt'>").endsWith(QLatin1String(" Row: 2")))
        << qPrintable(parseError("<objectdump wrapper='Qt'>"));
    EXPECT_EQ(parseError("<dump wrapper='Qt'/>"),
              QStringLiteral("Received snapshot filter has invalid root node"));
    EXPECT_EQ(parseError("<objectdump/>"),
              QStringLiteral("Attribute 'wrapper' for root tag <objectdump> is not specified"));
    EXPECT_EQ(parseError("<objectdump wrapper='Qt'>\n<elem type='A'/></objectdump>"),
              QStringLiteral("Element 'elem' is not expected to be found at line 3"));
    EXPECT_EQ(parseError("<objectdump wrapper='Qt'>\n\n<element/></objectdump>"),
              QStringLiteral("Cannot declare filter element without a 'type' attribute at line 4"));
    EXPECT_EQ(parseError("<objectdump wrapper='Qt'><element type='A'>\n<child/></element>"
                         "</objectdump>"),
              QStringLiteral("Subelement 'child' is not expected to be found at line 3"));
    EXPECT_EQ(parseError("<objectdump wrapper='Qt'><element type='A'><properties>\n"
                         "<property/></properties></element></objectdump>"),
              QStringLiteral("Cannot declare property without a 'name' attribute at line 3"));
    EXPECT_EQ(parseError("<objectdump wrapper='Qt'><element type='A'>\n\n"
                         "<screenshot exclude='maybe'/></element></objectdump>"),
              QStringLiteral("'maybe' is not a valid value for 'exclude' attribute at line 4"));

    // A bad element leaves nothing of the good ones before it.
    DumpFilter filter;
    QString error;
    EXPECT_FALSE(parseDumpFilter("<objectdump wrapper='Qt'><element type='A'/>"
                                 "<element type='*'/><element/></objectdump>",
                                 &filter, &error));
    EXPECT_EQ(filter.size(), 0);
    EXPECT_EQ(filter.defaultFilter(), nullptr);

    // A filter with no classes is a filter.
    const std::unique_ptr<DumpFilter> empty = parsed("<objectdump wrapper=\"*\"/>");
    EXPECT_EQ(empty->wrapperName(), "*");
    EXPECT_EQ(empty->findFilter(&classes().widget), nullptr);
}

TEST(DumpFilter, ClassesInheritFromTheirNearestFilteredBaseAndLastFromTheDefault)
{
    const std::unique_ptr<DumpFilter> filter = parsed(R"(<objectdump wrapper="Qt">
      <element type="*"><screenshot exclude="true"/><realname exclude="yes"/></element>
      <element type="FButton"><screenshot exclude="false"/><children exclude="1"/></element>
      <element type="FLabel" exclude="true"/>
    </objectdump>)");
    FilterObject *push = filter->findFilter(&classes().pushButton);
    ASSERT_NE(push, nullptr);
    EXPECT_EQ(push->className(), QStringLiteral("FButton"));
    EXPECT_FALSE(push->isScreenshotExcluded());
    EXPECT_TRUE(push->isChildNodesExcluded());
    EXPECT_TRUE(push->isRealNameExcluded());      // from "*"
    EXPECT_FALSE(push->isSymbolicNameExcluded()); // nobody says
    EXPECT_EQ(push->depth(), 2);

    FilterObject *widget = filter->findFilter(&classes().widget);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget, filter->defaultFilter());
    EXPECT_TRUE(widget->isScreenshotExcluded());
    EXPECT_TRUE(widget->isMatchedClass(QStringLiteral("anything")));

    // An excluded class has no filter, and neither have its subclasses
    // without their own.
    EXPECT_EQ(filter->findFilter(&classes().label), nullptr);
    EXPECT_EQ(filter->findFilter(nullptr), nullptr);

    // Without a default, a class without a filter on its chain has none.
    const std::unique_ptr<DumpFilter> only =
        parsed("<objectdump wrapper='Qt'><element type='FButton'/></objectdump>");
    EXPECT_EQ(only->findFilter(&classes().label), nullptr);
    EXPECT_NE(only->findFilter(&classes().pushButton), nullptr);
}

TEST(DumpFilter, PropertiesAreTakenOnlyWhenSomethingSaysSo)
{
    const std::unique_ptr<DumpFilter> filter = parsed(R"(<objectdump wrapper="Qt">
      <element type="*">
        <identifyingProperties><property name="objectName"/></identifyingProperties>
        <properties><property name="text*"/><property name="width" exclude="true"/></properties>
      </element>
      <element type="FButton">
        <properties><property name="*" exclude="false"/><property name="secret" exclude="1"/>
        </properties>
      </element>
    </objectdump>)");
    FilterObject *widget = filter->findFilter(&classes().widget);
    FilterObject *button = filter->findFilter(&classes().pushButton);

    PropertyInfo::Type type = PropertyInfo::Concrete;
    EXPECT_TRUE(takes(widget, "objectName", &type));
    EXPECT_EQ(type, PropertyInfo::Identifying);
    // A pattern covers the whole name.
    EXPECT_TRUE(takes(widget, "text"));
    EXPECT_TRUE(takes(widget, "textFormat"));
    EXPECT_FALSE(takes(widget, "plainText"));
    EXPECT_FALSE(takes(widget, "width"));
    EXPECT_FALSE(takes(widget, "height"));

    // "*" on the class takes every name the class does not exclude itself.
    EXPECT_TRUE(takes(button, "height"));
    EXPECT_FALSE(takes(button, "secret"));
    // The class's own default answers before the base filter is asked, and
    // it makes the property a concrete one.
    EXPECT_TRUE(takes(button, "objectName", &type));
    EXPECT_EQ(type, PropertyInfo::Concrete);

    // Answers are kept: a later change to the default does not reach a name
    // the label's chain has already asked about.
    const std::unique_ptr<DumpFilter> chain = parsed(R"(<objectdump wrapper="Qt">
      <element type="*"><properties><property name="a*"/></properties></element>
      <element type="FWidget"/>
    </objectdump>)");
    FilterObject *own = chain->findFilter(&classes().label);
    ASSERT_EQ(own->className(), QStringLiteral("FWidget"));
    EXPECT_TRUE(takes(own, "alpha"));
    chain->defaultFilter()->addProperty(PropertyInfo::Concrete, QStringLiteral("alpha"), Excluded);
    EXPECT_TRUE(takes(own, "alpha"));
    EXPECT_FALSE(takes(chain->defaultFilter(), "alpha"));
}

TEST(DumpFilter, RepeatedTypesAndMergedFiltersLetTheLaterOneWin)
{
    const std::unique_ptr<DumpFilter> filter = parsed(R"(<objectdump wrapper="Qt">
      <element type="FButton"><screenshot exclude="true"/><children exclude="true"/></element>
      <element type="FButton"><screenshot exclude="false"/></element>
    </objectdump>)");
    EXPECT_EQ(filter->size(), 1);
    FilterObject *button = filter->findFilter(&classes().button);
    EXPECT_FALSE(button->isScreenshotExcluded());
    EXPECT_TRUE(button->isChildNodesExcluded());

    // A filter merged in: its wrapper name, its default, its classes.
    const std::unique_ptr<DumpFilter> wildcard = parsed(R"(<objectdump wrapper="*">
      <element type="*"><transparentNodes exclude="true"/></element>
      <element type="FButton"><children exclude="false"/></element>
      <element type="FLabel" exclude="true"/>
    </objectdump>)");
    filter->mergeWith(wildcard.get());
    EXPECT_EQ(filter->wrapperName(), "*");
    EXPECT_EQ(filter->size(), 2);
    FilterObject *merged = filter->findFilter(&classes().pushButton);
    ASSERT_NE(merged, nullptr);
    EXPECT_FALSE(merged->isChildNodesExcluded());
    EXPECT_FALSE(merged->isScreenshotExcluded());
    EXPECT_TRUE(merged->areTransparentNodesExcluded());
    EXPECT_EQ(filter->findFilter(&classes().label), nullptr);
    EXPECT_TRUE(filter->findFilter(&classes().widget)->areTransparentNodesExcluded());
}

TEST(DumpFilter, ARequestsFiltersMergeByWrapperWithTheWildcardLast)
{
    DumpFilters filters;
    QString error;
    const QByteArray first = "<objectdump wrapper='Qt'><element type='FButton'>"
                             "<children exclude='true'/><screenshot exclude='true'/>"
                             "</element></objectdump>";
    const QByteArray second = "<objectdump wrapper='Qt'><element type='FButton'>"
                              "<children exclude='false'/></element></objectdump>";
    const QByteArray wildcard = "<objectdump wrapper='*'><element type='*'>"
                                "<realname exclude='true'/></element></objectdump>";
    ASSERT_TRUE(ObjectTreeDump::parseFilters({first, second, wildcard}, &filters, &error))
        << qPrintable(error);
    ASSERT_EQ(filters.count("Qt"), 1u);
    FilterObject *button = filters.at("Qt")->findFilter(&classes().pushButton);
    ASSERT_NE(button, nullptr);
    EXPECT_FALSE(button->isChildNodesExcluded());
    EXPECT_TRUE(button->isScreenshotExcluded());
    // The wildcard's default went under the Qt filter.
    EXPECT_TRUE(button->isRealNameExcluded());
    ObjectTreeDump::deleteFilters(&filters);

    EXPECT_FALSE(ObjectTreeDump::parseFilters({wildcard, first}, &filters, &error));
    EXPECT_EQ(error, QStringLiteral("Error in snapshot filters order, wildcard filter in between "
                                    "wrapper specific filters"));
    EXPECT_TRUE(filters.empty());
    EXPECT_FALSE(ObjectTreeDump::parseFilters({first, "<objectdump/>"}, &filters, &error));
    EXPECT_EQ(error, QStringLiteral("Error in parseDumpFilter for filter 1: Attribute 'wrapper' "
                                    "for root tag <objectdump> is not specified"));
    EXPECT_TRUE(filters.empty());
}
