// Snapshots of the demo application's object tree through the wire, compared
// with what the agent says of the same objects one by one; and the framing
// of failed requests.
#include "demoapplication.h"
#include "uielement.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace Tolvex;
using UIAbstraction::StandardType;
using UIAbstraction::UIElement;

namespace {

// Every element but the root's picture; the form's transparent layout
// containers vanish; identifying names and two properties.
const QByteArray FormFilter = R"(<objectdump wrapper="Qt">
  <element type="*">
    <identifyingProperties><property name="objectName"/></identifyingProperties>
    <properties><property name="enabled"/><property name="check*"/></properties>
    <screenshot exclude="true"/>
    <transparentNodes exclude="true"/>
  </element>
  <element type="QMenuBar" exclude="true"/>
</objectdump>)";

class Snapshot : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
        QString error;
        m_demo = TestSupport::launchDemo(QStringLiteral("xcb"), &error);
        ASSERT_TRUE(m_demo) << qPrintable(error);
    }
    void TearDown() override
    {
        if (m_demo)
            m_demo->quit();
    }

    RemoteObject object(const QString &name)
    {
        const FunctionCallResult<RemoteObject> found = m_demo->waitForObject(name, 15000);
        EXPECT_FALSE(found.isError()) << qPrintable(found.error);
        return found.value;
    }

    QByteArray dump(const ArgumentList &args)
    {
        const FunctionCallResult<ArgumentList> answer =
            m_demo->call(QStringLiteral("dumpObject"), args);
        EXPECT_FALSE(answer.isError()) << qPrintable(answer.error);
        return answer.value.value(0).toByteArray();
    }

    QRect bounds(const RemoteObject &o) { return TestSupport::objectBounds(*m_demo, o); }

    std::unique_ptr<RemoteApplication> m_demo;
};

const UIElement *find(const UIElement *root, const std::function<bool(const UIElement *)> &fits)
{
    if (fits(root))
        return root;
    for (const UIElement *child : root->children())
        if (const UIElement *found = find(child, fits))
            return found;
    return nullptr;
}

int count(const UIElement *root, const std::function<bool(const UIElement *)> &fits)
{
    int n = fits(root) ? 1 : 0;
    for (const UIElement *child : root->children())
        n += count(child, fits);
    return n;
}

} // namespace

TEST_F(Snapshot, TheFormsTreeHasTheWidgetsAsTheAgentReportsThem)
{
    const RemoteObject page =
        object(QStringLiteral("{objectName='registrationPage' type='QWidget'}"));
    const RemoteObject submit = object(QStringLiteral("{objectName='submit' type='QPushButton'}"));
    const RemoteObject terms = object(QStringLiteral("{objectName='terms' type='QCheckBox'}"));

    const QByteArray bytes = dump({page.id(), FormFilter});
    ASSERT_FALSE(bytes.isEmpty());
    ASSERT_EQ(quint8(bytes.at(0)), 0xC5) << bytes.mid(bytes.indexOf(char(0xC4)) + 1).constData();
    const QList<UIElement *> trees = UIElement::elementsFromByteArray(bytes.mid(1));
    ASSERT_EQ(trees.size(), 1);
    const std::unique_ptr<UIElement> root(trees.first());

    // The root's picture is there; the others' are not.
    EXPECT_TRUE(root->isImageSet());
    EXPECT_TRUE(root->isWindowNode());
    EXPECT_EQ(root->geometry().rect().size(), root->image().size());
    EXPECT_EQ(count(root.get(), [](const UIElement *e) { return e->isImageSet(); }), 1);
    // The layout, which has no view, is gone; its widgets are the page's.
    EXPECT_EQ(count(root.get(), [](const UIElement *e) { return e->isTransparentNode(); }), 0);

    const UIElement *button = find(root.get(), [](const UIElement *e) {
        return e->identifyingProperties().value(QStringLiteral("objectName")) ==
               QLatin1String("submit");
    });
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->parentElement(), root.get());
    EXPECT_EQ(button->standardType(), StandardType::Button());
    EXPECT_EQ(button->concreteType(), QStringLiteral("QPushButton"));
    EXPECT_EQ(button->simplifiedType(), QStringLiteral("PushButton"));
    EXPECT_EQ(button->text(), submit.property(QStringLiteral("text")).value.toString());
    EXPECT_EQ(button->geometry().rect(), bounds(submit));
    EXPECT_EQ(button->realName(), submit.realName().value);
    EXPECT_TRUE(button->superTypes().contains(QStringLiteral("QAbstractButton")))
        << qPrintable(button->superTypes().join(QLatin1Char(' ')));
    EXPECT_EQ(button->concreteProperties().value(QStringLiteral("enabled")),
              QStringLiteral("true"));

    const UIElement *box = find(root.get(), [](const UIElement *e) {
        return e->identifyingProperties().value(QStringLiteral("objectName")) ==
               QLatin1String("terms");
    });
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->standardType(), StandardType::CheckBox());
    // The pattern takes "checkable" and "checked", and nothing else beside
    // "enabled".
    EXPECT_EQ(box->concreteProperties().value(QStringLiteral("checked")),
              terms.property(QStringLiteral("checked")).value.toBool() ? QStringLiteral("true")
                                                                       : QStringLiteral("false"));
    EXPECT_TRUE(box->concreteProperties().contains(QStringLiteral("checkable")));
    EXPECT_EQ(box->concreteProperties().size(), 3);

    // Ids are unique in the dump.
    QSet<QString> ids;
    const std::function<void(const UIElement *)> collect = [&](const UIElement *e) {
        EXPECT_FALSE(ids.contains(e->id())) << qPrintable(e->id());
        ids.insert(e->id());
        for (const UIElement *child : e->children())
            collect(child);
    };
    collect(root.get());
}

TEST_F(Snapshot, FailuresAreFramedWithTheirReason)
{
    const RemoteObject window =
        object(QStringLiteral("{objectName='mainWindow' type='MainWindow'}"));
    const auto reason = [](const QByteArray &bytes) {
        const qsizetype at = bytes.indexOf(char(0xC4));
        return at < 0 ? QString() : QString::fromUtf8(bytes.mid(at + 1));
    };
    EXPECT_EQ(reason(dump({window.id()})),
              QStringLiteral("Got too low arguments for dump object request"));
    EXPECT_EQ(reason(dump({987654, FormFilter})), QStringLiteral("Requested object not found"));
    EXPECT_EQ(reason(dump({window.id(), QByteArray("<objectdump/>")})),
              QStringLiteral("Error in parseDumpFilter for filter 0: Attribute 'wrapper' for root "
                             "tag <objectdump> is not specified"));
    EXPECT_EQ(reason(dump({window.id(), QByteArray("<objectdump wrapper=\"*\"/>"), FormFilter})),
              QStringLiteral("Error in snapshot filters order, wildcard filter in between "
                             "wrapper specific filters"));
    EXPECT_EQ(reason(dump({window.id(), QByteArray("<objectdump wrapper=\"Java\"/>")})),
              QStringLiteral("Unable to find dump filter for Qt wrapper"));

    // A root that is not shown: an error while transparent nodes are left
    // out, an element marked transparent while they are kept.
    const FunctionCallResult<RemoteObject> hidden =
        m_demo->waitForObject(QStringLiteral("{objectName='cataloguePage' type='QWidget'}"), 15000,
                              RemoteApplication::Readiness::Exists);
    ASSERT_FALSE(hidden.isError()) << qPrintable(hidden.error);
    EXPECT_EQ(reason(dump({hidden.value.id(), FormFilter})),
              QStringLiteral("Requested object has invalid geometry or is invisible. Please "
                             "select visible object with dimensions greater than 0."));
    const QByteArray kept =
        dump({hidden.value.id(), QByteArray("<objectdump wrapper=\"Qt\"><element type=\"*\">"
                                            "<transparentNodes exclude=\"false\"/>"
                                            "<screenshot exclude=\"true\"/></element>"
                                            "</objectdump>")});
    ASSERT_FALSE(kept.isEmpty());
    ASSERT_EQ(quint8(kept.at(0)), 0xC5);
    const QList<UIElement *> trees = UIElement::elementsFromByteArray(kept.mid(1));
    ASSERT_EQ(trees.size(), 1);
    EXPECT_TRUE(trees.first()->isTransparentNode());
    EXPECT_FALSE(trees.first()->children().isEmpty());
    qDeleteAll(trees);

    // An excluded class gives a count of 0, not a failure.
    const QByteArray none =
        dump({window.id(), QByteArray("<objectdump wrapper=\"Qt\"><element type=\"QObject\" "
                                      "exclude=\"true\"/></objectdump>")});
    ASSERT_FALSE(none.isEmpty());
    EXPECT_EQ(quint8(none.at(0)), 0xC5);
    EXPECT_EQ(none.mid(1), QByteArray::fromHex("00000000"));
    EXPECT_TRUE(m_demo->isRunning());
}
