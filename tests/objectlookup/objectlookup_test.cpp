#include "delegate.h"
#include "delegatefactory.h"
#include "inspector.h"
#include "nodetoolkit.h"
#include "objectmap.h"
#include "objectname.h"
#include "propertyvalue.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace Tolvex;
using namespace NodeToolkit;

namespace {

// One tree and its delegates for the whole test program: the Inspector
// collects the top-level delegates once.
struct World
{
    Node root;
    NodeHierarchy *toplevel;
    Node *window;
    Node *ok;

    World()
    {
        window =
            root.add(QStringLiteral("main"), {{QStringLiteral("type"), QStringLiteral("Window")}});
        Node *form =
            window->add(QStringLiteral("form"), {{QStringLiteral("type"), QStringLiteral("Form")}});
        ok = form->add(QStringLiteral("ok"), {{QStringLiteral("type"), QStringLiteral("Button")},
                                              {QStringLiteral("text"), QStringLiteral("OK")}});
        form->add(QStringLiteral("cancel"), {{QStringLiteral("type"), QStringLiteral("Button")},
                                             {QStringLiteral("text"), QStringLiteral("Cancel")}});
        form->add(QStringLiteral("a.b"), {{QStringLiteral("type"), QStringLiteral("Label")}});
        toplevel = new NodeHierarchy(QStringLiteral("Tolvex::ToplevelQt"), &root);
        DelegateFactory::self()->addDelegate(toplevel);
        DelegateFactory::self()->addDelegate(
            new NodeHierarchy(QStringLiteral("LookupNode"), &root));
    }

    static World &get()
    {
        static World w;
        return w;
    }
};

// A toolkit that is busy: it finds nothing of type "Busy" and says why,
// the way a wrapper reports during a search.
class BusyToolkit : public NodeHierarchy
{
public:
    BusyToolkit() : NodeHierarchy(QStringLiteral("BusyToolkit"), &m_none) {}

    SharedPtr<Object> objectByQualifiedName(SharedPtr<Object>,
                                            const ObjectName &name) const override
    {
        if (name.isMultiProperty() &&
            name.property(QStringLiteral("type")).matches(QStringLiteral("Busy")))
            Inspector::self()->setError(QStringLiteral("window is busy"));
        return nullptr;
    }

private:
    Node m_none;
};

Inspector *inspector()
{
    World::get();
    Inspector *i = Inspector::self();
    static const bool busyAdded = [i] {
        i->setupPropertyDelegate();
        i->addTopLevelHierarchyDelegate(new BusyToolkit);
        return true;
    }();
    (void)busyAdded;
    i->lastError(); // start each case without a stale error
    return i;
}

} // namespace

TEST(ObjectLookup, FindsByPropertiesPathAndHierarchicalHead)
{
    Inspector *i = inspector();
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("{type='Button' text='OK'}"))), World::get().ok);
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("{text?='Can*' type='Button'}")))->name,
              QStringLiteral("cancel"));
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("main.form.ok"))), World::get().ok);
    // An escaped dot belongs to the part.
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("main.form.a\\.b")))->name,
              QStringLiteral("a.b"));
    // The head is found by a full lookup, then the path is walked below it.
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("{type='Form'}.ok"))), World::get().ok);
    EXPECT_TRUE(i->lastError().isEmpty());
}

TEST(ObjectLookup, FailureTextsATesterReads)
{
    Inspector *i = inspector();
    EXPECT_FALSE(i->findObject(QString()));
    EXPECT_EQ(i->lastError(), QStringLiteral("Empty Object Name passed to findObject!"));

    EXPECT_FALSE(i->findObject(QStringLiteral("main.nothing.ok")));
    EXPECT_EQ(i->lastError(), QStringLiteral("Object 'main.nothing.ok' not found.\n"
                                             "    Could not find child 'nothing' under 'main'"));
    EXPECT_FALSE(i->findObject(QStringLiteral("main.form.ok.deeper")));
    EXPECT_EQ(i->lastError(),
              QStringLiteral("Object 'main.form.ok.deeper' not found.\n"
                             "    Could not find child 'deeper' under 'main.form.ok'"));

    // Without an object map a symbolic name loses its colon and says so.
    ASSERT_EQ(ObjectMap::self(), nullptr);
    EXPECT_FALSE(i->findObject(QStringLiteral(":Foo")));
    EXPECT_EQ(i->lastError(),
              QStringLiteral("Object ':Foo' not found. Object name not found in Object Map."));

    // An invalid name never reaches the delegates.
    const int asked = World::get().toplevel->asked;
    EXPECT_FALSE(i->findObject(QStringLiteral("{type='Button'")));
    EXPECT_TRUE(
        i->lastError().startsWith(QStringLiteral("Cannot find object with invalid object name: ")));
    EXPECT_EQ(World::get().toplevel->asked, asked);

    // "{a='b'}.c{d}" is no hierarchical form: the second brace rules it out.
    EXPECT_FALSE(i->findObject(QStringLiteral("{a='b'}.c{d}")));
    EXPECT_TRUE(
        i->lastError().startsWith(QStringLiteral("Cannot find object with invalid object name: ")));

    // Candidates of the right type report what they failed on, one a line.
    EXPECT_FALSE(i->findObject(QStringLiteral("{type='Button' text='Apply'}")));
    EXPECT_EQ(i->lastError(), QStringLiteral("Object '{type='Button' text='Apply'}' not found. "
                                             "Could not match properties:\n"
                                             "    text for object name: '{name='cancel'}'\n"
                                             "    text for object name: '{name='ok'}'"));

    // An error a delegate sets during the search is quoted as the detail; one
    // left from before the search is not.
    EXPECT_FALSE(i->findObject(QStringLiteral("{type='Busy'}")));
    EXPECT_EQ(i->lastError(), QStringLiteral("Object '{type='Busy'}' not found: window is busy"));
    i->setError(QStringLiteral("stale"));
    EXPECT_FALSE(i->findObject(QStringLiteral("nowhere")));
    EXPECT_EQ(i->lastError(), QStringLiteral("Object 'nowhere' not found."));
}

TEST(ObjectLookup, PollingWithoutReadingTheErrorKeepsOneFailureText)
{
    Inspector *i = inspector();
    const auto pollUnread = [i](const QString &name, int times) {
        for (int poll = 0; poll < times; ++poll)
            EXPECT_FALSE(i->findObject(name)) << qPrintable(name);
    };

    // Every failure says the same, however often it is asked without reading.
    const QString missing = QStringLiteral("{type='Nope'}");
    pollUnread(missing, 1);
    const QString first = i->lastError();
    EXPECT_EQ(first, QStringLiteral("Object '{type='Nope'}' not found."));
    pollUnread(missing, 5000);
    const QString polled = i->lastError();
    EXPECT_EQ(polled.size(), first.size());
    EXPECT_EQ(polled, first);

    // A delegate's error of the search is quoted once, not once per poll.
    pollUnread(QStringLiteral("{type='Busy'}"), 1000);
    EXPECT_EQ(i->lastError(), QStringLiteral("Object '{type='Busy'}' not found: window is busy"));

    // The head of a hierarchical name is part of the same search: its failure
    // is quoted, the previous poll's text is not.
    const QString path = QStringLiteral("{type='Nope'}.child");
    pollUnread(path, 1000);
    EXPECT_EQ(i->lastError(), QStringLiteral("Object '{type='Nope'}.child' not found: Object "
                                             "'{type='Nope'}' not found."));

    // An error nobody has read yet survives a lookup that sets none.
    i->setError(QStringLiteral("earlier"));
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("main.form.ok"))), World::get().ok);
    EXPECT_EQ(nodeOf(i->findObject(QStringLiteral("{type='Form'}.ok"))), World::get().ok);
    EXPECT_EQ(i->lastError(), QStringLiteral("earlier"));

    // While events are recorded failures set nothing, so polls leave it too.
    struct Recorder : EventNotifyDelegate
    {
        void eventRecorded(const EventData &) override {}
    } recorder;
    i->setError(QStringLiteral("earlier"));
    i->setEventNotifyDelegate(&recorder);
    i->setEventRecordingEnabled(true);
    pollUnread(missing, 100);
    pollUnread(path, 100);
    i->setEventRecordingEnabled(false);
    i->setEventNotifyDelegate(nullptr);
    EXPECT_EQ(i->lastError(), QStringLiteral("earlier"));
}

TEST(ObjectLookup, ObjectMapAndCache)
{
    Inspector *i = inspector();
    {
        ObjectMap map;
        map.add(ObjectName(QStringLiteral("{type='Button' text='OK'}")),
                QStringLiteral(":OK_Button"));
        EXPECT_EQ(nodeOf(i->findObject(QStringLiteral(":OK_Button"))), World::get().ok);
        EXPECT_FALSE(i->findObject(QStringLiteral(":Unknown")));
        EXPECT_EQ(i->lastError(), QStringLiteral("Object ':Unknown' not found. Object name not "
                                                 "found in Object Map."));
    }
    // The one-entry cache answers a repeated name without asking the delegates,
    // but never with a failure it stored.
    i->enableObjectCache(true);
    const int before = World::get().toplevel->asked;
    EXPECT_TRUE(i->findObject(QStringLiteral("{type='Form'}")));
    EXPECT_TRUE(i->findObject(QStringLiteral("{type='Form'}")));
    EXPECT_EQ(World::get().toplevel->asked, before + 1);
    EXPECT_FALSE(i->findObject(QStringLiteral("main.missing")));
    EXPECT_FALSE(i->findObject(QStringLiteral("main.missing")));
    EXPECT_EQ(World::get().toplevel->asked, before + 3);

    // While events are recorded a failed lookup leaves the error alone.
    struct Recorder : EventNotifyDelegate
    {
        void eventRecorded(const EventData &) override {}
    } recorder;
    i->setError(QStringLiteral("earlier"));
    i->setEventNotifyDelegate(&recorder);
    i->setEventRecordingEnabled(true);
    EXPECT_FALSE(i->findObject(QStringLiteral("main.missing.again")));
    i->setEventRecordingEnabled(false);
    i->setEventNotifyDelegate(nullptr);
    EXPECT_EQ(i->lastError(), QStringLiteral("earlier"));
}
