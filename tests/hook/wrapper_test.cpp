// The wrapper base: readiness defaults and the reuse of object map names.
#include "delegatefactory.h"
#include "hook.h"
#include "inspector.h"
#include "nodetoolkit.h"
#include "objectmap.h"
#include "property.h"
#include "testtoolkit.h"
#include "wrapper.h"

#include <QMap>
#include <QScopeGuard>

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

// Nodes whose names begin with "shown" are on the screen, 10 by 20 at (100, 200);
// a node named "flat" has no size at all.
class NodeGeometry : public GeometryDelegate
{
public:
    NodeGeometry() : GeometryDelegate(QStringLiteral("LookupNode")) {}
    Rect<2> globalBounds(SharedPtr<Object> o) const override
    {
        return NodeToolkit::nodeOf(o)->name == QLatin1String("flat") ? Rect<2>(0, 0, -1, -1)
                                                                     : Rect<2>(100, 200, 10, 20);
    }
    bool isVisible(SharedPtr<Object> o) const override
    {
        return NodeToolkit::nodeOf(o)->name.startsWith(QLatin1String("shown"));
    }
    SharedPtr<Object> window(SharedPtr<Object>) const override { return nullptr; }
};

// Records the presses the base's clicks are made of; fails where told.
class PressRecorder : public TableWrapper
{
public:
    FunctionCallResult<void> pointerPress(SharedPtr<Object>, Point<1>, MouseButton::Value, int,
                                          bool press, int count) override
    {
        presses
            << QStringLiteral("%1%2").arg(press ? QLatin1Char('+') : QLatin1Char('-')).arg(count);
        if (presses.size() == failAt)
            return FunctionCallResult<void>::failure(QStringLiteral("failed %1").arg(failAt));
        return {};
    }
    QStringList presses;
    qsizetype failAt = 0;
};

TEST(WrapperTest, SpyRowsHighlightingAndPointerDefaults)
{
    NodeToolkit::Node root;
    NodeToolkit::Node *form = root.add(QStringLiteral("form"));
    form->add(QStringLiteral("shownButton"));
    form->add(QStringLiteral("hiddenLabel"));
    // Another test's hierarchy of the same class comes back afterwards.
    auto *earlier = const_cast<Delegate *>(
        DelegateFactory::self()->delegate(QStringLiteral("LookupNode"), Delegate::ObjectHierarchy));
    const auto restore = qScopeGuard([earlier] {
        if (earlier)
            DelegateFactory::self()->addDelegate(earlier);
    });
    NodeToolkit::NodeHierarchy hierarchy(QStringLiteral("LookupNode"), &root);
    DelegateFactory::self()->addDelegate(&hierarchy);
    TableWrapper wrapper;
    const SharedPtr<Object> formObject = NodeToolkit::wrap(form);

    // Without geometry nothing can be outlined or pointed at.
    QList<SpyObject> rows;
    ASSERT_TRUE(wrapper.spyObjectChildren(formObject, &rows));
    ASSERT_EQ(rows.size(), 2);
    EXPECT_FALSE(rows[0].highlightable);
    EXPECT_EQ(wrapper.pointerMove(formObject, {}).error,
              QStringLiteral("No geometry found for object"));
    EXPECT_EQ(wrapper.highlightObject(formObject),
              QStringLiteral("Object highlighting not supported"));
    EXPECT_FALSE(wrapper.spyObjectChildren(nullptr, &rows));

    {
        NodeGeometry geometry;
        DelegateFactory::self()->addDelegate(&geometry);
        rows.clear();
        ASSERT_TRUE(wrapper.spyObjectChildren(formObject, &rows));
        EXPECT_EQ(rows[0].name, QStringLiteral("shownButton"));
        EXPECT_EQ(rows[0].className, QStringLiteral("LookupNode"));
        EXPECT_TRUE(rows[0].shown);
        EXPECT_TRUE(rows[0].highlightable);
        EXPECT_FALSE(rows[1].highlightable);
        EXPECT_FALSE(wrapper.supportsHighlight(nullptr));

        NodeToolkit::Node flat;
        flat.name = QStringLiteral("flat");
        EXPECT_EQ(wrapper.pointerMove(NodeToolkit::wrap(&flat), {}).error,
                  QStringLiteral("Object does not have a valid geometry"));
    }
    // The delegate left the registry with its end.
    EXPECT_FALSE(wrapper.supportsHighlight(NodeToolkit::wrap(form->children[0].get())));

    // A click is a press and a release, both always; the first error wins.
    PressRecorder clicker;
    EXPECT_TRUE(clicker.pointerClick(formObject, {}, MouseButton::Left, 0, 1).isSuccess());
    EXPECT_EQ(clicker.presses, (QStringList{"+1", "-1"}));
    clicker.presses.clear();
    clicker.failAt = 1;
    EXPECT_EQ(clicker.pointerClick(formObject, {}, MouseButton::Left, 0, 1).error,
              QStringLiteral("failed 1"));
    EXPECT_EQ(clicker.presses, (QStringList{"+1", "-1"}));
    // A double click is a click counted 1, then one counted 2; an error in
    // the first ends it.
    clicker.presses.clear();
    clicker.failAt = 0;
    EXPECT_TRUE(clicker.doubleClick(formObject, {}, MouseButton::Right, 0).isSuccess());
    EXPECT_EQ(clicker.presses, (QStringList{"+1", "-1", "+2", "-2"}));
    clicker.presses.clear();
    clicker.failAt = 2;
    EXPECT_EQ(clicker.doubleClick(formObject, {}, MouseButton::Right, 0).error,
              QStringLiteral("failed 2"));
    EXPECT_EQ(clicker.presses, (QStringList{"+1", "-1"}));
}

} // namespace
