// Names in the client API are strict: in the demo application a name that
// fits two check boxes fails and lists both, its occurrence picks one, and a
// name that fits nothing lists what comes closest.
#include "demoapplication.h"

#include <gtest/gtest.h>

using namespace Tolvex;

TEST(StrictNames, AmbiguousNamesListTheCandidatesAndOccurrencePicksOne)
{
    QString error;
    std::unique_ptr<RemoteApplication> demo =
        TestSupport::launchDemo(QStringLiteral("offscreen"), &error);
    ASSERT_TRUE(demo) << qPrintable(error);

    const FunctionCallResult<RemoteObject> both =
        demo->waitForObject(QStringLiteral("{type='QCheckBox'}"), 5000);
    ASSERT_TRUE(both.isError());
    EXPECT_TRUE(both.error.startsWith(QStringLiteral(
        "The name {type='QCheckBox'} fits more than one object; add occurrence to pick one:")))
        << qPrintable(both.error);
    EXPECT_TRUE(both.error.contains(QStringLiteral("objectName='newsletter'")))
        << qPrintable(both.error);
    EXPECT_TRUE(both.error.contains(QStringLiteral("objectName='terms'")))
        << qPrintable(both.error);

    const FunctionCallResult<RemoteObject> second =
        demo->waitForObject(QStringLiteral("{occurrence='2' type='QCheckBox'}"), 5000);
    ASSERT_FALSE(second.isError()) << qPrintable(second.error);
    EXPECT_EQ(second.value.property(QStringLiteral("objectName")).value,
              QVariant(QStringLiteral("terms")));

    const FunctionCallResult<RemoteObject> none =
        demo->waitForObject(QStringLiteral("{objectName='term' type='QCheckBox'}"), 200);
    ASSERT_TRUE(none.isError());
    EXPECT_TRUE(none.error.contains(QStringLiteral("Closest names:"))) << qPrintable(none.error);
    EXPECT_TRUE(none.error.contains(QStringLiteral("objectName='terms'")))
        << qPrintable(none.error);
    demo->quit();
}
