// The wrapper base: readiness defaults and the reuse of object map names.
#include "hook.h"
#include "inspector.h"
#include "objectmap.h"
#include "property.h"
#include "testtoolkit.h"
#include "wrapper.h"

#include <QMap>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

const TestToolkit::TestClass &widgetClass()
{
    static const TestToolkit::TestClass c(
        "ReuseWidget", nullptr, {},
        {{QStringLiteral("width"), TestToolkit::primitive(IntClassId)}});
    return c;
}

// Finds objects from a table and counts the lookups a name reuse costs.
class TableWrapper : public Wrapper
{
public:
    QString wrapperName() const override { return QStringLiteral("table"); }
    bool ownsObject(SharedPtr<Object>) const override { return true; }
    bool isObjectReady(SharedPtr<Object>) override { return ready; }
    bool isObjectItemReady(SharedPtr<Object>, const QString &) override { return itemReady; }
    void spyModeChanged(bool) override {}
    void recordingStopped() override {}
    void notifyEventRecordingEnabled(bool on) override { recordingNotices.append(on); }
    SharedPtr<Object> findObject(const QString &name) override
    {
        ++lookups;
        Inspector::self()->setError(QStringLiteral("lookup failed"));
        return table.value(name);
    }
    bool possibleNameMatch(const QMap<QString, PropertyValue> &entry,
                           const QMap<QString, PropertyValue> &wanted) const override
    {
        return !sameKeysOnly || entry.keys() == wanted.keys();
    }

    QMap<QString, SharedPtr<Object>> table;
    QList<bool> recordingNotices;
    int lookups = 0;
    bool ready = true;
    bool itemReady = true;
    bool sameKeysOnly = false;
};

struct Natives
{
    TestToolkit::Native first{{{0, 10}}, -1, {}};
    TestToolkit::Native second{{{0, 20}}, -1, {}};
};

TEST(WrapperTest, ReusedNamesAreFoundOnceAndForgottenWithTheMap)
{
    Natives natives;
    const SharedPtr<Object> one = widgetClass().newObject(&natives.first);
    const SharedPtr<Object> two = widgetClass().newObject(&natives.second);
    ObjectMap map;
    map.loadFromString(QStringLiteral(":one\t{k='1'}\n:wild\t{k?='x*'}\n:other\t{j='x'}\n"));
    TableWrapper wrapper;
    wrapper.table.insert(QStringLiteral("{k?='x*'}"), two);

    // An entry equal to the real name is reused without a lookup.
    EXPECT_EQ(wrapper.getExistingRealName(one, QStringLiteral("{ k = '1' }")),
              QStringLiteral("{k='1'}"));
    EXPECT_EQ(wrapper.lookups, 0);

    // Otherwise the entries are tried; a failed candidate leaves no error.
    Inspector::self()->setError(QStringLiteral("before"));
    EXPECT_EQ(wrapper.getExistingRealName(two, QStringLiteral("{k='xyz'}")),
              QStringLiteral("{k?='x*'}"));
    EXPECT_EQ(wrapper.lookups, 3);
    EXPECT_TRUE(Inspector::self()->lastError().isEmpty());
    EXPECT_EQ(wrapper.getExistingRealName(two, QStringLiteral("{k='xyz'}")),
              QStringLiteral("{k?='x*'}"));
    EXPECT_EQ(wrapper.lookups, 3);

    // Another object of the same real name has its own entry: no name, and
    // the scan that found none is not repeated.
    EXPECT_TRUE(wrapper.getExistingRealName(one, QStringLiteral("{k='xyz'}")).isNull());
    EXPECT_EQ(wrapper.lookups, 6);
    EXPECT_TRUE(wrapper.getExistingRealName(one, QStringLiteral("{k='xyz'}")).isNull());
    EXPECT_EQ(wrapper.lookups, 6);
    EXPECT_EQ(wrapper.getExistingRealName(two, QStringLiteral("{k='xyz'}")),
              QStringLiteral("{k?='x*'}"));

    // Names that are not multi-property, and null objects, are never looked up.
    EXPECT_TRUE(wrapper.getExistingRealName(one, QStringLiteral("main.button")).isNull());
    EXPECT_TRUE(wrapper.getExistingRealName(nullptr, QStringLiteral("{k='1'}")).isNull());
    EXPECT_EQ(wrapper.lookups, 6);

    // A subclass narrows the candidates before any lookup.
    wrapper.sameKeysOnly = true;
    EXPECT_EQ(wrapper.getExistingRealName(two, QStringLiteral("{k='xa'}")),
              QStringLiteral("{k?='x*'}"));
    EXPECT_EQ(wrapper.lookups, 8);

    // A new map starts over.
    wrapper.clearCachedObjectNames();
    EXPECT_EQ(wrapper.getExistingRealName(two, QStringLiteral("{k='xyz'}")),
              QStringLiteral("{k?='x*'}"));
    EXPECT_EQ(wrapper.lookups, 10);
}

TEST(WrapperTest, ReadinessDefaultsGiveReasonsAndPlaceholderItems)
{
    Natives natives;
    const SharedPtr<Object> one = widgetClass().newObject(&natives.first);
    TableWrapper wrapper;
    EXPECT_TRUE(wrapper.checkObjectReady(one).isSuccess());

    wrapper.ready = false;
    Inspector::self()->setError(QString());
    EXPECT_EQ(wrapper.checkObjectReady(one).error,
              QStringLiteral("Object is not ready for an unknown reason"));
    Inspector::self()->setError(QStringLiteral("still loading"));
    EXPECT_EQ(wrapper.checkObjectReady(one).error, QStringLiteral("still loading"));

    const FunctionCallResult<SharedPtr<Object>> item =
        wrapper.getReadyObjectItem(one, QStringLiteral("row"));
    ASSERT_TRUE(item.isSuccess());
    ASSERT_TRUE(item.value);
    EXPECT_EQ(item.value->toString(), QStringLiteral("<not-wrapped-item>"));
    EXPECT_TRUE(wrapper.getReadyObjectItem(one, 2, 3).isSuccess());
    wrapper.itemReady = false;
    Inspector::self()->setError(QString());
    EXPECT_EQ(wrapper.getReadyObjectItem(one, QStringLiteral("row")).error,
              QStringLiteral("Object is not ready for an unknown reason"));

    // A batch of property reads, one result per entry.
    const Property *width = widgetClass().property(QStringLiteral("width"));
    ASSERT_NE(width, nullptr);
    const SharedPtr<Object> two = widgetClass().newObject(&natives.second);
    QList<ObjectPropertyValue> batch{{one, width, nullptr}, {two, width, nullptr}};
    wrapper.propertyValues(batch.begin(), batch.end());
    ASSERT_TRUE(batch[0].result && batch[1].result);
    EXPECT_EQ(batch[0].result->toString(), QStringLiteral("10"));
    EXPECT_EQ(batch[1].result->toString(), QStringLiteral("20"));
}

TEST(WrapperTest, HookSettingsReachEveryWrapperAndCompressionFollowsTheDefault)
{
    qunsetenv("TOLVEX_RUNNERID");
    TableWrapper wrapper;
    Hook *hook = Hook::connectAndCreateHook(&wrapper, nullptr, nullptr, 0);
    ASSERT_NE(hook, nullptr);
    EXPECT_TRUE(hook->eventCompressionEnabled(QStringLiteral("Moved")));
    hook->enableEventCompression(QStringLiteral("Typed"), true);
    hook->enableEventCompression(QStringLiteral("Scrolled"), false);
    hook->setDisableEventCompression();
    EXPECT_FALSE(hook->eventCompressionEnabled(QStringLiteral("Moved")));
    EXPECT_TRUE(hook->eventCompressionEnabled(QStringLiteral("Typed")));
    EXPECT_FALSE(hook->eventCompressionEnabled(QStringLiteral("Scrolled")));
    EXPECT_EQ(hook->wrapperForObject(nullptr), &wrapper);

    // A wrapper added later hears the recording switch too, and processes
    // started from here on inherit it.
    TableWrapper later;
    hook->addWrapper(&later);
    hook->addWrapper(&later);
    hook->setEventRecordingEnabled(true);
    EXPECT_EQ(wrapper.recordingNotices, QList<bool>{true});
    EXPECT_EQ(later.recordingNotices, QList<bool>{true});
    EXPECT_EQ(qgetenv("TOLVEX_RECORD"), QByteArray("1"));
    hook->setEventRecordingEnabled(false);
    EXPECT_EQ(qgetenv("TOLVEX_RECORD"), QByteArray("0"));

    // A wrapper the application deletes first is passed over from then on.
    auto *early = new TableWrapper;
    hook->addWrapper(early);
    EXPECT_EQ(hook->wrappers().size(), 3);
    delete early;
    EXPECT_EQ(hook->wrappers(), (QList<Wrapper *>{&wrapper, &later}));
    hook->stopRecord();
    hook->deleteHook();
    qunsetenv("TOLVEX_RECORD");
}

} // namespace
