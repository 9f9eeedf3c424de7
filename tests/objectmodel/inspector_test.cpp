#include "testtoolkit.h"

#include "classregistrar.h"
#include "delegate.h"
#include "eventdata.h"

#include <gtest/gtest.h>

using namespace TestToolkit;

TEST(Inspector, TypeLookupStripsOneIndirection)
{
    Inspector *in = Inspector::self();
    EXPECT_EQ(in->type(QStringLiteral("int*")), primitive(IntClassId));
    EXPECT_EQ(in->type(QStringLiteral("int&")), primitive(IntClassId));
    EXPECT_EQ(in->type(QStringLiteral("int**")), nullptr);
    EXPECT_EQ(in->type(QStringLiteral("nope")), nullptr);
    EXPECT_EQ(in->type(-1), nullptr);
    EXPECT_EQ(in->type(in->numClasses()), nullptr);
    EXPECT_EQ(in->nameSpace(0), in->globalNamespace());
    EXPECT_EQ(in->globalNamespace()->name(), QString());
    EXPECT_EQ(in->globalNamespace()->getClass(QStringLiteral("double")), primitive(DoubleClassId));
    // A later class of the same name takes over the name.
    auto *first = new TestClass("Twice", nullptr);
    auto *second = new TestClass("Twice", nullptr);
    EXPECT_NE(first->id(), second->id());
    EXPECT_EQ(in->type(QStringLiteral("Twice")), second);
    EXPECT_EQ(in->type(first->id()), first);
}

TEST(Inspector, LastErrorIsConsumedWithTheUnmatchedProperties)
{
    Inspector *in = Inspector::self();
    in->setError(QStringLiteral("boom"));
    in->addUnmatchedProperty(QStringLiteral("n"), QStringLiteral("a"));
    in->addUnmatchedProperty(QStringLiteral("n"), QStringLiteral("a"));
    EXPECT_EQ(in->unmatchedProperties().value(QStringLiteral("n")).size(), 1);
    EXPECT_EQ(in->lastError(), QStringLiteral("boom"));
    EXPECT_TRUE(in->unmatchedProperties().isEmpty());
    EXPECT_EQ(in->lastError(), QString());

    in->addUnmatchedProperty(QStringLiteral("n"), QStringLiteral("a"));
    in->setError(QString());
    EXPECT_TRUE(in->unmatchedProperties().isEmpty());

    // The candidate with the fewest unmatched properties stays, in either order.
    const QList<QString> ab{QStringLiteral("a"), QStringLiteral("b")};
    const QList<QString> abc{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    in->setUnmatchedProperties(QStringLiteral("x"), ab);
    in->setUnmatchedProperties(QStringLiteral("x"), abc);
    EXPECT_EQ(in->unmatchedProperties().value(QStringLiteral("x")), ab);
    in->removeUnmatchedProperties(QStringLiteral("x"));
    in->setUnmatchedProperties(QStringLiteral("x"), abc);
    in->setUnmatchedProperties(QStringLiteral("x"), ab);
    EXPECT_EQ(in->unmatchedProperties().value(QStringLiteral("x")), ab);
    in->lastError();

    EXPECT_FALSE(in->call(QStringLiteral("anything"), FList<QVariant>()).isValid());
    EXPECT_EQ(in->lastError(), QStringLiteral("Cannot make remote calls right now. Make sure your "
                                              "application is running and hooked by Tolvex."));
    EXPECT_FALSE(in->findObject(QString()));
    EXPECT_EQ(in->lastError(), QStringLiteral("Empty Object Name passed to findObject!"));
}

TEST(Inspector, RecorderSettingsByClassName)
{
    Inspector *in = Inspector::self();
    EXPECT_TRUE(in->hasRecordMouseDrag(QStringLiteral("Unknown")));
    EXPECT_FALSE(in->hasMouseTracking(QStringLiteral("Unknown")));
    EXPECT_EQ(in->isKeyEventCompressionAllowed(QStringLiteral("Unknown")), -1);
    in->setRecordMouseDrag(QStringLiteral("Canvas"), false);
    in->setMouseTracking(QStringLiteral("Canvas"), true);
    in->setAllowKeyEventCompression(QStringLiteral("Canvas"), false);
    EXPECT_FALSE(in->hasRecordMouseDrag(QStringLiteral("Canvas")));
    EXPECT_TRUE(in->hasMouseTracking(QStringLiteral("Canvas")));
    EXPECT_EQ(in->isKeyEventCompressionAllowed(QStringLiteral("Canvas")), 0);

    in->setRecorderFilter(QStringLiteral("type"), QStringLiteral("Foo*"));
    in->setRecorderFilter(QStringLiteral("type"), QStringLiteral("Exact[1]"));
    EXPECT_TRUE(in->matchRecordFilter(QStringLiteral("type"), QStringLiteral("FooBar")));
    EXPECT_TRUE(in->matchRecordFilter(QStringLiteral("type"), QStringLiteral("Exact[1]")));
    EXPECT_FALSE(in->matchRecordFilter(QStringLiteral("type"), QStringLiteral("BarFoo")));
    EXPECT_FALSE(in->matchRecordFilter(QStringLiteral("other"), QStringLiteral("FooBar")));

    in->setUniqueProperty(QStringLiteral("Label"), QStringLiteral("text"));
    in->setUniqueProperty(QStringLiteral("Label"), QStringLiteral("name"));
    EXPECT_EQ(in->uniqueProperty(QStringLiteral("Label")), QStringLiteral("name"));
    EXPECT_EQ(in->uniqueProperty(QStringLiteral("Other")), QString());
    EXPECT_EQ(in->uniquePropertyClasses().count(QStringLiteral("Label")), 2);

    in->setExtensionCode(QStringLiteral("code"), QStringLiteral("js"));
    EXPECT_EQ(in->extensionCode(), QStringLiteral("code"));
    EXPECT_EQ(in->extensionLanguage(), QStringLiteral("js"));

    Native native;
    SharedPtr<Object> cached = (new TestClass("Cached", nullptr))->newObject(&native);
    in->setCachedObject(QStringLiteral("name"), cached);
    int elsewhere = 0;
    in->invalidateObjectCache(&elsewhere);
    EXPECT_EQ(in->cachedObject(QStringLiteral("name")).get(), cached.get());
    in->enableObjectCache(false);
    EXPECT_FALSE(in->cachedObject(QStringLiteral("name")));
    in->enableObjectCache(true);
    in->invalidateObjectCache(&native);
    EXPECT_FALSE(in->cachedObject(QStringLiteral("name")));
}

TEST(Inspector, EventHandlersByScope)
{
    Inspector *in = Inspector::self();
    in->clearEventHandlers();
    auto *base = new TestClass("HandlerBase", nullptr);
    auto *derived = new TestClass("HandlerDerived", base);
    auto *other = new TestClass("HandlerOther", nullptr);

    in->installClassEventHandler(QStringLiteral("HandlerBase"), QStringLiteral("clicked"),
                                 QStringLiteral("onClick"));
    in->installClassEventHandler(QStringLiteral("NotAClass"), QStringLiteral("clicked"),
                                 QStringLiteral("never"));
    EXPECT_EQ(in->eventHandler(derived, QStringLiteral("clicked")), QStringLiteral("onClick"));
    EXPECT_EQ(in->eventHandler(other, QStringLiteral("clicked")), QString());
    EXPECT_EQ(in->eventHandler(base, QStringLiteral("pressed")), QString());
    EXPECT_TRUE(in->uninstallClassEventHandler(
        QStringLiteral("HandlerBase"), QStringLiteral("clicked"), QStringLiteral("onClick")));
    EXPECT_EQ(in->eventHandler(derived, QStringLiteral("clicked")), QString());
    EXPECT_TRUE(in->uninstallClassEventHandler(QStringLiteral("NotAClass"),
                                               QStringLiteral("clicked"), QStringLiteral("never")));
    // A cheap filter without false negatives: the name stays known.
    EXPECT_TRUE(in->mightHaveEventHandler(QStringLiteral("clicked")));

    Native native;
    SharedPtr<Object> button = derived->newObject(&native);
    in->installObjectEventHandler(button, QStringLiteral("pressed"), QStringLiteral("onPress"));
    in->uninstallObjectEventHandler(button, QStringLiteral("pressed"), QStringLiteral("onPress"));
    EXPECT_EQ(in->eventHandler(derived->newObject(&native), QStringLiteral("pressed")),
              QStringLiteral("onPress"))
        << "object handlers stay until cleared, and match the same native thing";
    EXPECT_EQ(in->eventHandler(SharedPtr<Object>(), QStringLiteral("pressed")), QString());

    in->installGlobalEventHandler(QStringLiteral("any"), QStringLiteral("first"));
    in->installGlobalEventHandler(QStringLiteral("any"), QStringLiteral("second"));
    EXPECT_EQ(in->eventHandler(QStringLiteral("any")), QStringLiteral("first"));
    in->uninstallGlobalEventHandler(QStringLiteral("any"), QStringLiteral("first"));
    EXPECT_EQ(in->eventHandler(QStringLiteral("any")), QStringLiteral("second"));

    in->clearEventHandlers();
    EXPECT_FALSE(in->mightHaveEventHandler(QStringLiteral("clicked")));
    EXPECT_EQ(in->eventHandler(button, QStringLiteral("pressed")), QString());
}

namespace {

struct Recorder : SendEventDelegate
{
    Recorder(bool answer, QStringList *log, const char *tag) : answer(answer), log(log), tag(tag) {}
    bool sendEvent(const Event *event, SharedPtr<Object>, const ObjectList &args) const override
    {
        *log << QStringLiteral("%1:%2:%3").arg(QLatin1String(tag), event->name()).arg(args.size());
        return answer;
    }
    bool answer;
    QStringList *log;
    const char *tag;
};

} // namespace

TEST(Inspector, SendEventAsksDelegatesInOrderAndEnumeratorsByName)
{
    QStringList log;
    static Recorder first(false, &log, "first");
    static Recorder second(true, &log, "second");
    static Recorder third(true, &log, "third");
    auto *c = new TestClass("Sender", nullptr);
    const Event clicked(c, QStringLiteral("clicked"), Signature(), 0, true);
    Native native;
    clicked.sendEvent(c->newObject(&native), ObjectList{Inspector::self()->createPrimitive(1)});
    EXPECT_EQ(log,
              QStringList({QStringLiteral("first:clicked:1"), QStringLiteral("second:clicked:1")}));
    log.clear();
    clicked.sendEvent(SharedPtr<Object>(), ObjectList());
    EXPECT_TRUE(log.isEmpty()) << "a null object is refused before any delegate";

    struct WithEnum : TestClass
    {
        WithEnum() : TestClass("Palette", nullptr) { setNumEnums(1); }
        Enum *createEnum(int id) const override
        {
            static const Enum::Item items[] = {{"Light", 0}, {"Dark", 1}, {nullptr, 0}};
            return new Enum(this, QStringLiteral("Theme"), items, id);
        }
    };
    auto *palette = new WithEnum;
    EXPECT_EQ(Inspector::self()->enumerator(QStringLiteral("Palette::Theme")),
              palette->enumerator(0));
    EXPECT_EQ(Inspector::self()->enumerator(QStringLiteral("Palette::Nope")), nullptr);
    EXPECT_EQ(Inspector::self()->enumerator(QStringLiteral("Nope::Theme")), nullptr);
}

namespace {

int batchesAnnounced = 0;
void announceBatch()
{
    ++batchesAnnounced;
}

struct Sink : EventNotifyDelegate
{
    void eventRecorded(const EventData &data) override { received << data.toDebugString(); }
    QStringList received;
};

} // namespace

TEST(Inspector, ClassRegistrarAnnouncesOnlyTheOutermostBatch)
{
    ClassRegistrar::setBatchHandler(&announceBatch);
    {
        ClassRegistrar outer;
        new TestClass("BatchA", nullptr);
        {
            ClassRegistrar inner;
            new TestClass("BatchB", nullptr);
            EXPECT_EQ(ClassRegistrar::depth(), 2);
        }
        EXPECT_EQ(batchesAnnounced, 0);
    }
    EXPECT_EQ(batchesAnnounced, 1);
    EXPECT_EQ(ClassRegistrar::depth(), 0);
    ClassRegistrar::setBatchHandler(nullptr);
    {
        ClassRegistrar alone; // no handler: nothing to announce to
    }
    EXPECT_EQ(batchesAnnounced, 1);
}

TEST(Inspector, RecordedEventsReachTheOneNotifyDelegate)
{
    Inspector *in = Inspector::self();
    in->setEventRecordingEnabled(true);
    {
        Sink first;
        Sink second; // replaces the first
        EXPECT_TRUE(in->isEventRecordingEnabled());
        in->recordEvent(EventData::fromComment(QStringLiteral("note")));
        EXPECT_TRUE(first.received.isEmpty());
        ASSERT_EQ(second.received.size(), 1);
        EXPECT_EQ(second.received.first(), QStringLiteral("Type comment: objectId: 'note' "
                                                          "numArguments: 0: [ ]"));
        in->setEventRecordingEnabled(false);
        EXPECT_FALSE(in->isEventRecordingEnabled());
        in->setEventRecordingEnabled(true);
    }
    EXPECT_FALSE(in->isEventRecordingEnabled()) << "no delegate, no recording";
    in->recordEvent(EventData());
    in->setEventRecordingEnabled(false);
}

TEST(Signature, LongFormsLeaveOutUnusedParameters)
{
    const Argument i(primitive(IntClassId), ObjectAttribute::Value());
    EXPECT_EQ(Signature(i, i, i).count(), 3);
    EXPECT_EQ(Signature(i, i, Argument(), i).count(), 3);
    EXPECT_EQ(Signature(i, i, i, i, i, i, i, i, i, i, i, i, i, i, i, i, i, i).count(), 18);
    // The one- and two-argument forms keep what they are given.
    EXPECT_EQ(Signature(Argument(), Argument()).count(), 2);
}
