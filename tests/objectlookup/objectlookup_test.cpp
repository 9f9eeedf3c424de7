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

Inspector *inspector()
{
    World::get();
    Inspector *i = Inspector::self();
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

    // An error a delegate left behind is quoted as the detail.
    i->setError(QStringLiteral("window is busy"));
    EXPECT_FALSE(i->findObject(QStringLiteral("nowhere")));
    EXPECT_EQ(i->lastError(), QStringLiteral("Object 'nowhere' not found: window is busy"));
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
