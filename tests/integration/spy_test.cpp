// The object browser's calls against the demo application on the X display,
// with their effects checked in pixels: listings and components of the
// form, a highlight that shows in a desktop capture and goes after its
// time-out, object pictures natively and through Qt, and picking mode,
// where a click selects a widget and does not reach the application.
#include "demoapplication.h"
#include "eventwait.h"
#include "screenshot.h"
#include "serializable.h"

#include <QDataStream>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

class Spy : public ::testing::Test
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

    QVariant answer(const QString &function, const ArgumentList &args = {})
    {
        const FunctionCallResult<ArgumentList> result = m_demo->call(function, args);
        EXPECT_FALSE(result.isError()) << qPrintable(function + QLatin1String(": ") + result.error);
        return result.value.value(0);
    }

    QImage desktop()
    {
        return Screenshot::fromVariant(answer(QStringLiteral("desktopScreenshot"))).image;
    }

    // The object's rectangle on the screen.
    QRect bounds(const RemoteObject &o) { return TestSupport::objectBounds(*m_demo, o); }

    std::unique_ptr<RemoteApplication> m_demo;
};

struct Row
{
    QString name;
    QString className;
    bool shown = false;
    bool highlightable = false;
};

QList<Row> rows(const QByteArray &bytes)
{
    QList<Row> list;
    QDataStream in(bytes);
    in.setVersion(MetadataStreamVersion);
    while (!in.atEnd()) {
        Row row;
        in >> row.name >> row.className >> row.shown >> row.highlightable;
        if (in.status() != QDataStream::Ok)
            break;
        list.append(row);
    }
    return list;
}

// Red laid over the widget: an opaque frame at its edge, or a translucent
// fill where windows can blend.
bool isRed(QRgb pixel)
{
    return qRed(pixel) >= 100 && qRed(pixel) > qGreen(pixel) + 50 &&
           qRed(pixel) > qBlue(pixel) + 50;
}

} // namespace

TEST_F(Spy, ListsTheFormAndItsComponentsAsTheBrowserShowsThem)
{
    const RemoteObject field = object(QStringLiteral("{objectName='name' type='QLineEdit'}"));
    ASSERT_FALSE(field.setProperty(QStringLiteral("text"), QStringLiteral("Ada")).isError());

    const QList<Row> top = rows(answer(QStringLiteral("spyObjects"), {QString()}).toByteArray());
    const auto window = std::find_if(top.begin(), top.end(), [](const Row &r) {
        return r.className == QLatin1String("MainWindow");
    });
    ASSERT_NE(window, top.end()) << top.size() << " top-level rows";
    EXPECT_TRUE(window->shown);
    EXPECT_TRUE(window->highlightable);

    // The children of the registration page hold the field, by its name.
    const QList<Row> page =
        rows(answer(QStringLiteral("spyObjects"),
                    {QStringLiteral("{objectName='registrationPage' type='QWidget'}")})
                 .toByteArray());
    EXPECT_TRUE(std::any_of(page.begin(), page.end(), [](const Row &r) {
        return r.className == QLatin1String("QLineEdit");
    }));
    EXPECT_FALSE(
        answer(QStringLiteral("spyObjects"), {QStringLiteral("{objectName='none'}")}).isValid());

    const QStringList components =
        answer(QStringLiteral("fetchObjectComponents"), {QStringList{QString::number(field.id())}})
            .toStringList();
    EXPECT_TRUE(components.contains(QStringLiteral("char#text=Ada")))
        << qPrintable(components.join(QLatin1Char('\n')));
    EXPECT_TRUE(components.contains(QStringLiteral("ScreenRectangle#+geometry=")))
        << qPrintable(components.join(QLatin1Char('\n')));
    EXPECT_TRUE(
        answer(QStringLiteral("objectHasComponents"), {QStringList{QString::number(field.id())}})
            .toBool());
    EXPECT_TRUE(
        answer(QStringLiteral("fetchObjectComponents"), {QStringList{QStringLiteral("999999")}})
            .toStringList()
            .isEmpty());

    // Values by property index: a string as itself, a rectangle as its
    // fields in braces; pairs that name nothing are left out.
    const int text = m_demo->classes().property(field.classId(), QStringLiteral("text"))->id();
    const int geometry =
        m_demo->classes().property(field.classId(), QStringLiteral("geometry"))->id();
    const QString id = QString::number(field.id());
    const QStringList values =
        answer(QStringLiteral("fetchPropertyValuesAsString"),
               {QStringList{id, QString::number(text), QStringLiteral("999999"),
                            QString::number(text), id, QString::number(geometry), id}})
            .toStringList();
    ASSERT_EQ(values.size(), 2) << qPrintable(values.join(QLatin1Char('\n')));
    EXPECT_EQ(values.at(0), QStringLiteral("Ada"));
    EXPECT_TRUE(values.at(1).startsWith(QStringLiteral("{ x = ")) &&
                values.at(1).contains(QStringLiteral(", width = ")) &&
                values.at(1).endsWith(QStringLiteral(" }")))
        << qPrintable(values.at(1));
}

TEST_F(Spy, AHighlightShowsOverTheWidgetAndGoesAfterItsTimeOut)
{
    const RemoteObject button = object(QStringLiteral("{objectName='submit' type='QPushButton'}"));
    const QRect where = bounds(button);
    ASSERT_FALSE(where.isEmpty());
    // The frame's edge lies on the widget's own edge.
    const QPoint centre = where.topLeft() + QPoint(1, where.height() / 2);
    EXPECT_FALSE(isRed(desktop().pixel(centre)));

    EXPECT_TRUE(answer(QStringLiteral("supportsHighlight"), {button.id()}).toBool());
    EXPECT_EQ(answer(QStringLiteral("highlightObject"), {button.id(), 700}).toString(), QString());
    EXPECT_TRUE(waitUntil([&] { return isRed(desktop().pixel(centre)); }, 3000))
        << "no highlight at the button's edge";
    // Beside the button there is no frame.
    EXPECT_FALSE(isRed(desktop().pixel(where.right() + 40, where.bottom() + 40)));
    EXPECT_TRUE(waitUntil([&] { return !isRed(desktop().pixel(centre)); }, 5000))
        << "the highlight stayed after its time-out";

    // By name, and without a time-out it stays until it is cleared.
    EXPECT_EQ(answer(QStringLiteral("highlightObject"),
                     {QStringLiteral("{objectName='submit' type='QPushButton'}")})
                  .toString(),
              QString());
    runEventsFor(900);
    EXPECT_TRUE(isRed(desktop().pixel(centre)));
    m_demo->send(QStringLiteral("clearHighlight"));
    EXPECT_TRUE(waitUntil([&] { return !isRed(desktop().pixel(centre)); }, 3000));

    EXPECT_EQ(answer(QStringLiteral("highlightObject"), {QStringLiteral("{objectName='none'}")})
                  .toString()
                  .isEmpty(),
              false);
}

TEST_F(Spy, AnObjectsPictureIsWhatQtRendersAndTheDesktopIsTheScreen)
{
    const RemoteObject button = object(QStringLiteral("{objectName='submit' type='QPushButton'}"));
    const QImage native =
        Screenshot::fromVariant(answer(QStringLiteral("grabObjectScreenshot"), {button.id(), 0, 0}))
            .image;
    // Flag 2: no native capture, Qt's own rendering of the widget.
    const QImage rendered =
        Screenshot::fromVariant(answer(QStringLiteral("grabObjectScreenshot"), {button.id(), 2, 0}))
            .image;
    ASSERT_FALSE(native.isNull());
    ASSERT_FALSE(rendered.isNull());
    EXPECT_EQ(native.size(), bounds(button).size());
    ASSERT_EQ(native.size(), rendered.size());
    const QImage a = native.convertToFormat(QImage::Format_RGB32);
    const QImage b = rendered.convertToFormat(QImage::Format_RGB32);
    int differing = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            differing += a.pixel(x, y) != b.pixel(x, y);
    EXPECT_LT(differing, a.width() * a.height() / 100) << differing << " pixels differ";

    const QImage screen = desktop();
    EXPECT_FALSE(screen.isNull());
    EXPECT_GE(screen.width(), bounds(button).right());
    EXPECT_FALSE(answer(QStringLiteral("grabObjectScreenshot"), {999999, 0, 0}).isValid());
}

TEST_F(Spy, PickingSelectsTheWidgetUnderThePointerAndTheClickGoesNoFurther)
{
    const RemoteObject terms = object(QStringLiteral("{objectName='terms' type='QCheckBox'}"));
    ASSERT_EQ(terms.property(QStringLiteral("checked")).value, QVariant(false));
    ASSERT_TRUE(m_demo->send(QStringLiteral("spyGUI"), {true}));
    ASSERT_FALSE(terms.click(QPoint(8, 8)).isError());
    ASSERT_TRUE(waitUntil(
        [&] { return !m_demo->received(QStringLiteral("objectPicked")).isEmpty(); }, 5000));
    const ArgumentList picked = m_demo->received(QStringLiteral("objectPicked")).first();
    EXPECT_TRUE(picked.value(1).toString().contains(QStringLiteral("objectName='terms'")))
        << qPrintable(picked.value(1).toString());
    EXPECT_EQ(m_demo->objectFromWire(picked.value(0)).realName().value, picked.value(1).toString());
    runEventsFor(200);
    EXPECT_EQ(terms.property(QStringLiteral("checked")).value, QVariant(false));

    // Out of picking mode the application has its clicks again.
    ASSERT_TRUE(m_demo->send(QStringLiteral("spyGUI"), {false}));
    ASSERT_FALSE(terms.click(QPoint(8, 8)).isError());
    EXPECT_TRUE(waitUntil(
        [&] { return terms.property(QStringLiteral("checked")).value == QVariant(true); }, 5000));
}
