// Real names, lookup by multi-property names and by paths, and the object
// tree, on a small but real widget application.

#include "qtwrappertest.h"

#include "delegate.h"
#include "inspector.h"
#include "objectlist.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include <QSet>

#include <functional>
#include <memory>

using namespace Tolvex;
using namespace QtWrapperTest;

namespace {

// An order form: two group boxes with the same inner widgets, buttons with
// mnemonics, two alike buttons, tab pages and two tabbed dock widgets.
struct OrderForm
{
    std::unique_ptr<QMainWindow> window = std::make_unique<QMainWindow>();
    QPushButton *close = nullptr;
    QPushButton *deliveryApply = nullptr;
    QLineEdit *deliveryName = nullptr;
    QPushButton *help1 = nullptr;
    QPushButton *help2 = nullptr;
    QLabel *notes = nullptr;
    QDockWidget *history = nullptr;
    QDockWidget *log = nullptr;

    OrderForm()
    {
        window->setObjectName(QStringLiteral("orders"));
        window->setWindowTitle(QStringLiteral("Orders[*]"));
        auto *central = new QWidget;
        central->setObjectName(QStringLiteral("central"));
        auto *layout = new QVBoxLayout(central);
        for (const QString &title : {QStringLiteral("Customer"), QStringLiteral("&Delivery")}) {
            auto *box = new QGroupBox(title);
            auto *inner = new QVBoxLayout(box);
            inner->addWidget(new QLabel(QStringLiteral("Name:")));
            auto *name = new QLineEdit;
            name->setObjectName(QStringLiteral("name"));
            inner->addWidget(name);
            auto *apply = new QPushButton(QStringLiteral("&Apply"));
            inner->addWidget(apply);
            layout->addWidget(box);
            deliveryApply = apply;
            deliveryName = name;
        }
        auto *tabs = new QTabWidget;
        notes = new QLabel(QStringLiteral("Notes go here"));
        tabs->addTab(notes, QStringLiteral("Notes"));
        tabs->addTab(new QLabel(QStringLiteral("Totals")), QStringLiteral("Totals"));
        layout->addWidget(tabs);
        help1 = new QPushButton(QStringLiteral("Help"));
        help2 = new QPushButton(QStringLiteral("Help"));
        close = new QPushButton(QStringLiteral("&Close"));
        layout->addWidget(help1);
        layout->addWidget(help2);
        layout->addWidget(close);
        window->setCentralWidget(central);
        history = new QDockWidget(QStringLiteral("History"), window.get());
        log = new QDockWidget(QStringLiteral("Log"), window.get());
        history->setWidget(new QLabel(QStringLiteral("no history")));
        log->setWidget(new QLabel(QStringLiteral("no log")));
        window->addDockWidget(Qt::LeftDockWidgetArea, history);
        window->addDockWidget(Qt::LeftDockWidgetArea, log);
        window->tabifyDockWidget(history, log);
        window->resize(500, 600);
        window->show();
        settle(20);
    }
};

bool contains(const QString &name, const char *part)
{
    return name.contains(QString::fromLatin1(part));
}

} // namespace

TEST(QtNames, SayWhatATesterSeesAndFindTheirObjects)
{
    OrderForm form;
    const QString windowName = realName(form.window.get());
    // The modification mark of the title is no part of the name.
    EXPECT_EQ(windowName,
              QStringLiteral("{objectName='orders' type='QMainWindow' windowTitle='Orders'}"));

    // Mnemonics are dropped from texts; the window goes into the name.
    const QString close = realName(form.close);
    EXPECT_EQ(close, QStringLiteral("{text='Close' type='QPushButton' window=") + windowName +
                         QStringLiteral("}"));
    EXPECT_EQ(findQObject(close), form.close);
    EXPECT_EQ(findQObject(QStringLiteral("{type='QPushButton' text='&Close'}")), form.close);
    EXPECT_EQ(findQObject(QStringLiteral("{type='QPushButton' text='Close'}")), form.close);

    // Inside a group box the box is the container, and its name tells the
    // two alike forms apart.
    const QString apply = realName(form.deliveryApply);
    EXPECT_TRUE(contains(apply, "container={title='Delivery' type='QGroupBox'")) << apply;
    EXPECT_FALSE(contains(apply, "occurrence")) << apply;
    EXPECT_EQ(findQObject(apply), form.deliveryApply);
    EXPECT_EQ(findQObject(realName(form.deliveryName)), form.deliveryName);

    // Alike objects differ by their occurrence in the tree's order.
    EXPECT_FALSE(contains(realName(form.help1), "occurrence"));
    EXPECT_TRUE(contains(realName(form.help2), "occurrence='2'"));
    EXPECT_EQ(findQObject(realName(form.help2)), form.help2);
    EXPECT_EQ(findQObject(realName(form.help1)), form.help1);

    // Tab pages and tabbed dock widgets, shown or not, are named all the same.
    EXPECT_TRUE(contains(realName(form.notes), "container={type='QTabWidget'"));
    EXPECT_EQ(findQObject(realName(form.log)), form.log);
    EXPECT_EQ(findQObject(realName(form.history)), form.history);
    EXPECT_TRUE(contains(realName(form.log), "windowTitle='Log'"));

    // Patterns and properties that are not part of the real name.
    EXPECT_EQ(findQObject(QStringLiteral("{type='QPushButton' text?='Cl*'}")), form.close);
    EXPECT_EQ(findQObject(QStringLiteral("{type='QLineEdit' objectName='name' occurrence='2'}")),
              form.deliveryName);
    EXPECT_EQ(findQObject(QStringLiteral("{type='QPushButton' text='Help' flat='false' "
                                         "occurrence='2'}")),
              form.help2);
}

TEST(QtNames, AreTheSameInTwoRunsAndEachFindsItsOwnObject)
{
    QStringList first;
    {
        OrderForm form;
        first = realNamesBelow(form.window.get());
    }
    QStringList second;
    OrderForm form;
    second = realNamesBelow(form.window.get());
    ASSERT_GT(first.size(), 30);
    EXPECT_EQ(first, second);

    // Unique at the moment they are made: each name finds the object it
    // was made for, and no two objects share one.
    std::vector<SharedPtr<Object>> objects;
    const std::function<void(const SharedPtr<Object> &)> collect = [&](const SharedPtr<Object> &o) {
        for (const SharedPtr<Object> &child : o->children()) {
            objects.push_back(child);
            collect(child);
        }
    };
    collect(objectFor(form.window.get()));
    QSet<QString> seen;
    for (const SharedPtr<Object> &o : objects) {
        const QString name = o->qualifiedName();
        EXPECT_FALSE(seen.contains(name)) << name.toStdString();
        seen.insert(name);
        SharedPtr<Object> found = find(name);
        EXPECT_TRUE(found && found->sameAs(o)) << name.toStdString();
    }
}

TEST(QtNames, FailedLookupsSayWhatDidNotMatch)
{
    OrderForm form;
    const QString name = QStringLiteral("{type='QPushButton' text='Nope' window=") +
                         realName(form.window.get()) + QStringLiteral("}");
    EXPECT_FALSE(find(name));
    const QString error = lastError();
    EXPECT_TRUE(error.startsWith(QStringLiteral("Object '") + name + QStringLiteral("' not found")))
        << error.toStdString();
    EXPECT_TRUE(error.contains(QStringLiteral("Could not match properties:")))
        << error.toStdString();
    EXPECT_TRUE(error.contains(QStringLiteral("text for object name: '{text='Close'")))
        << error.toStdString();

    // A window that is not there fails the whole name.
    EXPECT_FALSE(find(QStringLiteral("{type='QPushButton' window={type='QDialog'}}")));
    EXPECT_FALSE(find(QStringLiteral("{type='QPushButton' occurrence='0'}")));
    EXPECT_TRUE(lastError().contains(QStringLiteral("occurrence")));
}

TEST(QtTree, ListsTopLevelObjectsChildrenAndParents)
{
    OrderForm form;
    Inspector *inspector = Inspector::self();
    const ObjectList top = inspector->objects();
    const auto has = [&top](QObject *o) {
        for (const SharedPtr<Object> &t : top)
            if (QtWrapper::qobjectOf(t) == o)
                return true;
        return false;
    };
    EXPECT_TRUE(has(form.window.get()));
    EXPECT_TRUE(has(qApp));
    // The wrapper's own objects are none of the application's.
    EXPECT_FALSE(has(wrapper()));
    for (const SharedPtr<Object> &o : objectFor(qApp)->children())
        EXPECT_NE(QtWrapper::qobjectOf(o), wrapper());
    EXPECT_EQ(inspector->numObjects(), int(top.size()));

    SharedPtr<Object> close = objectFor(form.close);
    SharedPtr<Object> central = close->parent();
    ASSERT_TRUE(central);
    EXPECT_EQ(QtWrapper::qobjectOf(central), form.window->centralWidget());
    bool listed = false;
    for (const SharedPtr<Object> &child : central->children())
        listed = listed || child->sameAs(close);
    EXPECT_TRUE(listed);
    EXPECT_FALSE(objectFor(form.window.get())->parent());

    // Dotted paths of object names, else types.
    EXPECT_EQ(objectFor(form.window.get())->name(), QStringLiteral("orders"));
    EXPECT_EQ(close->name(), QStringLiteral("QPushButton"));
    SharedPtr<Object> byPath = find(QStringLiteral("orders.central.QPushButton"));
    ASSERT_TRUE(byPath);
    EXPECT_EQ(QtWrapper::qobjectOf(byPath), form.help1);
    EXPECT_FALSE(find(QStringLiteral("orders.nothing")));
    EXPECT_TRUE(
        lastError().contains(QStringLiteral("Could not find child 'nothing' under 'orders'")));
}

TEST(QtGeometry, BoundsAreWhereTheWidgetIs)
{
    OrderForm form;
    SharedPtr<Object> close = objectFor(form.close);
    const GeometryDelegate *geometry = geometryDelegateFor(close);
    ASSERT_NE(geometry, nullptr);
    const Rect<2> bounds = geometry->globalBounds(close);
    const QPoint topLeft = form.close->mapToGlobal(QPoint(0, 0));
    EXPECT_EQ(bounds, Rect<2>(topLeft.x(), topLeft.y(), form.close->width(), form.close->height()));
    EXPECT_TRUE(geometry->isVisible(close));
    EXPECT_EQ(QtWrapper::qobjectOf(geometry->window(close)), form.window.get());
    // Objects that are not shown have no geometry delegate.
    EXPECT_EQ(geometryDelegateFor(objectFor(qApp)), nullptr);
}

TEST(QtTree, MenuItemsOwnedOutsideTheTreeHangBelowTheirMenu)
{
    // Applications keep their actions in a plain QObject of their own; the
    // menu shows them, and a tester reaches them through the menu.
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Editor"));
    QObject actions;
    auto *open = new QAction(QStringLiteral("&Open..."), &actions);
    auto *quit = new QAction(QStringLiteral("&Quit"), &actions);
    QMenu *file = window.menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(open);
    file->addAction(quit);
    // One owned by the window itself stays below the window.
    auto *own = new QAction(QStringLiteral("Own"), &window);
    file->addAction(own);

    SharedPtr<Object> menu = objectFor(file);
    QList<QObject *> listed;
    for (const SharedPtr<Object> &child : menu->children())
        listed.append(QtWrapper::qobjectOf(child));
    EXPECT_TRUE(listed.contains(open));
    EXPECT_TRUE(listed.contains(quit));
    EXPECT_FALSE(listed.contains(own));
    EXPECT_EQ(QtWrapper::qobjectOf(objectFor(quit)->parent()), file);
    EXPECT_EQ(QtWrapper::qobjectOf(objectFor(own)->parent()), &window);

    // And by name, as the item of its menu.
    const QString name = objectFor(quit)->qualifiedName();
    EXPECT_TRUE(name.contains(QStringLiteral("text='Quit'"))) << qPrintable(name);
    EXPECT_TRUE(name.contains(QStringLiteral("title='File'"))) << qPrintable(name);
    EXPECT_EQ(QtWrapper::qobjectOf(find(name)), quit) << qPrintable(name);
}
