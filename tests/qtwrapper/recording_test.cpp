// Recording of real input: native clicks and keys through the X server come
// back as recorded events on the objects' names.

#include "qtx11test.h"

#include "delegate.h"
#include "eventdata.h"
#include "hook.h"
#include "inspector.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <memory>
#include <vector>

#ifdef TOLVEXQT_HAVE_QUICK
#include "qmlscene.h"
#endif

using namespace Tolvex;
using namespace QtX11Test;

namespace {

// Takes the Hook's place as the receiver of recorded events.
class Capture : public EventNotifyDelegate
{
public:
    void eventRecorded(const EventData &data) override { events.push_back(data); }
    std::vector<EventData> events;
};

QStringList arguments(const EventData &event)
{
    QStringList values;
    for (int i = 0; i < event.numArguments(); ++i)
        values << event.argument(i).value();
    return values;
}

struct Form
{
    QWidget window;
    QPushButton *save = new QPushButton(QStringLiteral("&Save"));
    QLineEdit *edit = new QLineEdit;
    QListWidget *list = new QListWidget;
    QComboBox *combo = new QComboBox;

    Form()
    {
        auto *layout = new QVBoxLayout(&window);
        edit->setObjectName(QStringLiteral("city"));
        for (int i = 0; i < 5; ++i)
            list->addItem(QStringLiteral("Item %1").arg(i));
        combo->addItems({QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")});
        layout->addWidget(save);
        layout->addWidget(edit);
        layout->addWidget(list);
        layout->addWidget(combo);
        window.resize(300, 400);
        EXPECT_TRUE(X11Test::showActive(&window, QPoint(60, 60)));
    }
};

void click(QWidget *widget, QPoint local)
{
    EXPECT_TRUE(X11Test::native()
                    ->pointerClick(MouseButton::Left, X11Test::nativePoint(widget, local), 0, 1)
                    .isSuccess());
}

void click(QWidget *widget)
{
    click(widget, widget->rect().center());
}

} // namespace

class QtRecording : public X11Test::PluginTest
{
protected:
    void SetUp() override
    {
        X11Test::PluginTest::SetUp();
        ASSERT_TRUE(hook());
        capture = std::make_unique<Capture>();
        Inspector::self()->setEventRecordingEnabled(true);
        QtWrapperTest::wrapper()->notifyEventRecordingEnabled(true);
    }
    void TearDown() override
    {
        QtWrapperTest::wrapper()->notifyEventRecordingEnabled(false);
        Inspector::self()->setEventRecordingEnabled(false);
        capture.reset();
    }

    // Waits for the effect, then lets what the recorder holds go out.
    const std::vector<EventData> &recorded(const std::function<bool()> &effect)
    {
        EXPECT_TRUE(TestSupport::waitUntil(effect));
        X11Test::settle(30);
        QtWrapperTest::wrapper()->recordingStopped();
        return capture->events;
    }

    std::unique_ptr<Capture> capture;
};

TEST_F(QtRecording, AClickOnAButtonIsRecordedOnItsName)
{
    Form form;
    const QString name = QtWrapperTest::realName(form.save);
    int clicks = 0;
    QObject::connect(form.save, &QPushButton::clicked, [&clicks] { ++clicks; });
    click(form.save);
    const auto &events = recorded([&] { return clicks == 1; });
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].methodName(), QStringLiteral("clickButton"));
    EXPECT_EQ(events[0].objectId(), name);
    EXPECT_TRUE(name.contains(QStringLiteral("text='Save'"))) << name;
}

TEST_F(QtRecording, TypingIsFoldedIntoOneEventWhileCompressionIsOn)
{
    Form form;
    X11Test::EventRecorder released(form.edit);
    click(form.edit);
    ASSERT_TRUE(TestSupport::waitUntil([&] {
        return form.edit->hasFocus() && !released.ofType(QEvent::MouseButtonRelease).empty();
    }));
    // The click that gave the focus goes out before the typing.
    QtWrapperTest::wrapper()->recordingStopped();
    ASSERT_EQ(capture->events.size(), 1u);
    EXPECT_EQ(capture->events[0].methodName(), QStringLiteral("mouseClick"));
    capture->events.clear();
    ASSERT_TRUE(
        X11Test::native()->sendKeyEventToFocusWindow(QStringLiteral("Hi <all")).isSuccess());
    ASSERT_TRUE(
        X11Test::native()->sendKeyEventToFocusWindow(QStringLiteral("<Return>")).isSuccess());
    const auto &events = recorded([&] { return form.edit->text() == QLatin1String("Hi <all"); });
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].methodName(), QStringLiteral("type"));
    EXPECT_EQ(events[0].objectId(), QtWrapperTest::realName(form.edit));
    EXPECT_EQ(arguments(events[0]), QStringList({"Hi <<>all<Return>"}));

    // Where the class does not allow it, each key is an event of its own.
    Inspector::self()->setAllowKeyEventCompression(QStringLiteral("QLineEdit"), false);
    capture->events.clear();
    ASSERT_TRUE(X11Test::native()->sendKeyEventToFocusWindow(QStringLiteral("ab")).isSuccess());
    const auto &single = recorded([&] { return form.edit->text().endsWith(QLatin1String("ab")); });
    Inspector::self()->setAllowKeyEventCompression(QStringLiteral("QLineEdit"), true);
    ASSERT_EQ(single.size(), 2u);
    EXPECT_EQ(arguments(single[0]), QStringList({"a"}));
    EXPECT_EQ(arguments(single[1]), QStringList({"b"}));
}

TEST_F(QtRecording, ADoubleClickIsOneEventAndItemClicksNameTheItem)
{
    Form form;
    click(form.list->viewport(), form.list->visualItemRect(form.list->item(3)).center());
    const auto &events = recorded([&] { return form.list->currentRow() == 3; });
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].methodName(), QStringLiteral("clickItem"));
    EXPECT_EQ(events[0].objectId(), QtWrapperTest::realName(form.list));
    EXPECT_EQ(events[0].itemText(), QStringLiteral("Item 3"));
    EXPECT_EQ(arguments(events[0]).value(0), QStringLiteral("Item 3"));

    capture->events.clear();
    int doubleClicked = 0;
    QObject::connect(form.list, &QListWidget::itemDoubleClicked, [&] { ++doubleClicked; });
    const QPoint centre = form.list->visualItemRect(form.list->item(1)).center();
    ASSERT_TRUE(
        X11Test::native()
            ->doubleClick(MouseButton::Left, X11Test::nativePoint(form.list->viewport(), centre), 0)
            .isSuccess());
    const auto &twice = recorded([&] { return doubleClicked == 1; });
    ASSERT_EQ(twice.size(), 1u);
    EXPECT_EQ(twice[0].methodName(), QStringLiteral("doubleClickItem"));
    EXPECT_EQ(twice[0].itemText(), QStringLiteral("Item 1"));
}

TEST_F(QtRecording, ChoosingAnOptionIsRecordedAsTheChoiceAlone)
{
    Form form;
    click(form.combo);
    QWidget *popup = nullptr;
    ASSERT_TRUE(TestSupport::waitUntil([&] {
        popup = form.combo->view()->isVisible() ? form.combo->view()->viewport() : nullptr;
        return popup != nullptr;
    }));
    X11Test::settle(100);
    const QModelIndex two = form.combo->model()->index(1, 0);
    click(popup, form.combo->view()->visualRect(two).center());
    const auto &events = recorded([&] { return form.combo->currentIndex() == 1; });
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].methodName(), QStringLiteral("selectOption"));
    EXPECT_EQ(events[0].objectId(), QtWrapperTest::realName(form.combo));
    EXPECT_EQ(arguments(events[0]), QStringList({"Two"}));
}

TEST_F(QtRecording, MenuActivationIsRecordedByTheTextsOfBarAndMenu)
{
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Editor"));
    QMenu *file = window.menuBar()->addMenu(QStringLiteral("&File"));
    QAction *open = file->addAction(QStringLiteral("&Open..."));
    int opened = 0;
    QObject::connect(open, &QAction::triggered, [&opened] { ++opened; });
    window.setCentralWidget(new QWidget);
    window.resize(300, 200);
    ASSERT_TRUE(X11Test::showActive(&window, QPoint(60, 60)));
    QMenuBar *bar = window.menuBar();
    click(bar, bar->actionGeometry(file->menuAction()).center());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return file->isVisible(); }));
    X11Test::settle(100);
    click(file, file->actionGeometry(open).center());
    const auto &events = recorded([&] { return opened == 1; });
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].methodName(), QStringLiteral("activateItem"));
    EXPECT_EQ(events[0].objectId(), QtWrapperTest::realName(bar));
    EXPECT_EQ(arguments(events[0]), QStringList({"File"}));
    EXPECT_EQ(events[1].methodName(), QStringLiteral("activateItem"));
    EXPECT_TRUE(events[1].objectId().contains(QStringLiteral("type='QMenu'")))
        << events[1].objectId();
    EXPECT_EQ(arguments(events[1]), QStringList({"Open..."}));
}

#ifdef TOLVEXQT_HAVE_QUICK
TEST_F(QtRecording, ClicksOnQuickItemsNameTheItemThatTookThem)
{
    QtWrapperTest::QmlScene scene(QPoint(500, 100));
    QQuickItem *ok = scene.item("ok");
    ASSERT_TRUE(becomesReady(ok));
    const Rect<1> bounds = geometryDelegateFor(QtWrapperTest::objectFor(ok))
                               ->nativeGlobalBounds(QtWrapperTest::objectFor(ok));
    ASSERT_TRUE(X11Test::native()
                    ->pointerClick(
                        MouseButton::Left,
                        Point<1>(bounds.x + bounds.width / 2, bounds.y + bounds.height / 2), 0, 1)
                    .isSuccess());
    const auto &events = recorded([&] { return ok->property("clicks").toInt() == 1; });
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].methodName(), QStringLiteral("mouseClick"));
    EXPECT_TRUE(events[0].objectId().contains(QStringLiteral("type='QQuickMouseArea'")))
        << events[0].objectId();
    EXPECT_TRUE(events[0].objectId().contains(QStringLiteral("container={id='okButton'")) ||
                events[0].objectId().contains(QStringLiteral("window={title='Fruit stand'")))
        << events[0].objectId();
    const QStringList args = arguments(events[0]);
    ASSERT_EQ(args.size(), 4);
    EXPECT_NEAR(args[0].toInt(), 40, 2);
    EXPECT_NEAR(args[1].toInt(), 15, 2);
}
#endif
