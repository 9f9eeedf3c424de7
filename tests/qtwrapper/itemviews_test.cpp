// Items of item views by text and by row and column, brought into view and
// clickable, as the Hook hands them to a test.

#include "qtx11test.h"

#include "class.h"
#include "delegate.h"
#include "hook.h"
#include "inspector.h"
#include "property.h"

#include <gtest/gtest.h>

#include <QListWidget>
#include <QTableWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <memory>

#ifdef TOLVEXQT_HAVE_QUICK
#include "qmlscene.h"
#endif

using namespace Tolvex;
using namespace QtX11Test;

namespace {

struct Views
{
    QWidget window;
    QListWidget *list = new QListWidget;
    QTableWidget *table = new QTableWidget(5, 3);
    QTreeWidget *tree = new QTreeWidget;

    Views()
    {
        auto *layout = new QVBoxLayout(&window);
        for (int i = 0; i < 100; ++i)
            list->addItem(QStringLiteral("Item %1").arg(i));
        list->item(7)->setFlags(list->item(7)->flags() & ~Qt::ItemIsEnabled);
        for (int r = 0; r < 5; ++r)
            for (int c = 0; c < 3; ++c)
                table->setItem(r, c, new QTableWidgetItem(QStringLiteral("r%1c%2").arg(r).arg(c)));
        for (const QString &parent : {QStringLiteral("Parent A"), QStringLiteral("Parent B")}) {
            auto *top = new QTreeWidgetItem(tree, QStringList(parent));
            for (int k = 1; k <= 3; ++k)
                new QTreeWidgetItem(
                    top, QStringList(QStringLiteral("Child %1%2").arg(parent.right(1)).arg(k)));
        }
        layout->addWidget(list);
        layout->addWidget(table);
        layout->addWidget(tree);
        window.resize(300, 600);
        EXPECT_TRUE(X11Test::showActive(&window, QPoint(80, 60)));
    }
};

SharedPtr<Object> item(QObject *view, const QString &text, QString *error = nullptr)
{
    Inspector::self()->lastError();
    SharedPtr<Object> found = hook()->getObjectItemIfReady(QtWrapperTest::objectFor(view), text);
    if (error)
        *error = Inspector::self()->lastError();
    return found;
}

SharedPtr<Object> item(QObject *view, int row, int column, QString *error = nullptr)
{
    Inspector::self()->lastError();
    SharedPtr<Object> found =
        hook()->getObjectItemIfReady(QtWrapperTest::objectFor(view), row, column);
    if (error)
        *error = Inspector::self()->lastError();
    return found;
}

QString textOf(const SharedPtr<Object> &o, const char *name)
{
    SharedPtr<Object> value = QtWrapperTest::property(o, QString::fromLatin1(name));
    return value ? value->toString() : QStringLiteral("<none>");
}

} // namespace

class QtItemViews : public X11Test::PluginTest
{
protected:
    void SetUp() override
    {
        X11Test::PluginTest::SetUp();
        ASSERT_TRUE(hook());
    }
};

TEST_F(QtItemViews, ListItemsByTextAreScrolledIntoViewAndClickable)
{
    Views views;
    ASSERT_TRUE(becomesReady(views.list));
    QString error;
    SharedPtr<Object> found = item(views.list, QStringLiteral("Item 80"), &error);
    ASSERT_TRUE(found) << error;
    EXPECT_EQ(found->className(), QStringLiteral("ItemViewItem"));
    EXPECT_EQ(textOf(found, "text"), QStringLiteral("Item 80"));
    EXPECT_EQ(textOf(found, "row"), QStringLiteral("80"));
    EXPECT_EQ(QtWrapper::qobjectOf(QtWrapperTest::property(found, QStringLiteral("view"))),
              views.list);

    // Its geometry is where the view shows it, inside the viewport.
    const Rect<2> bounds = geometryDelegateFor(found)->globalBounds(found);
    const QRect shown = views.list->visualItemRect(views.list->item(80));
    EXPECT_EQ(bounds.y, views.list->viewport()->mapToGlobal(shown.topLeft()).y());
    EXPECT_TRUE(geometryDelegateFor(found)->isVisible(found));

    // A real click on it selects it.
    ASSERT_TRUE(QtWrapperTest::wrapper()
                    ->pointerClick(found, Point<1>(), MouseButton::Left, 0, 1)
                    .isSuccess());
    EXPECT_TRUE(TestSupport::waitUntil([&] { return views.list->currentRow() == 80; }));
    EXPECT_EQ(textOf(found, "selected"), QStringLiteral("true"));

    // Its real name finds it again.
    const QString name = found->qualifiedName();
    EXPECT_TRUE(name.startsWith(QStringLiteral("{column='0' container={type='QListWidget'")))
        << name;
    SharedPtr<Object> again = QtWrapperTest::find(name);
    ASSERT_TRUE(again) << name;
    EXPECT_TRUE(again->sameAs(found));
}

TEST_F(QtItemViews, TableItemsByRowAndColumnAndWhatIsNotThere)
{
    Views views;
    QString error;
    SharedPtr<Object> cell = item(views.table, 2, 1, &error);
    ASSERT_TRUE(cell) << error;
    EXPECT_EQ(textOf(cell, "text"), QStringLiteral("r2c1"));
    EXPECT_EQ(textOf(cell, "column"), QStringLiteral("1"));
    // Writing the text goes to the model.
    const Property *text = cell->type()->property(QStringLiteral("text"));
    EXPECT_TRUE(text->set(cell, QtWrapperTest::text(QStringLiteral("changed"))));
    EXPECT_EQ(views.table->item(2, 1)->text(), QStringLiteral("changed"));

    EXPECT_FALSE(item(views.table, 9, 0, &error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("No item at row 9, column 0 in {")));
    EXPECT_TRUE(error.endsWith(QStringLiteral(": it has 5 rows and 3 columns"))) << error;
    EXPECT_FALSE(item(views.table, QStringLiteral("nowhere"), &error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("No item 'nowhere' in {"))) << error;
}

TEST_F(QtItemViews, TreeItemsUnderCollapsedParentsAreExpandedInto)
{
    Views views;
    ASSERT_FALSE(views.tree->topLevelItem(1)->isExpanded());
    QString error;
    SharedPtr<Object> child = item(views.tree, QStringLiteral("Child B2"), &error);
    ASSERT_TRUE(child) << error;
    EXPECT_TRUE(views.tree->topLevelItem(1)->isExpanded());
    EXPECT_EQ(textOf(child, "row"), QStringLiteral("1"));
    SharedPtr<Object> again = QtWrapperTest::find(child->qualifiedName());
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->sameAs(child));
}

TEST_F(QtItemViews, ItemsThatCannotTakeInputAreNotHandedOut)
{
    Views views;
    QString error;
    EXPECT_FALSE(item(views.list, QStringLiteral("Item 7"), &error));
    EXPECT_EQ(error, QStringLiteral("Item 'Item 7' not ready: it is disabled"));

    views.list->hide();
    EXPECT_FALSE(item(views.list, QStringLiteral("Item 3"), &error));
    EXPECT_EQ(error, QStringLiteral("Item 'Item 3' not ready: it is not visible"));

    QWidget plain;
    EXPECT_FALSE(item(&plain, 0, 0, &error));
    EXPECT_TRUE(error.endsWith(QStringLiteral(" is no item view"))) << error;
}

#ifdef TOLVEXQT_HAVE_QUICK
TEST_F(QtItemViews, QmlListViewDelegatesByTextAndRow)
{
    QtWrapperTest::QmlScene scene(QPoint(500, 100));
    QQuickItem *list = scene.root->childItems().at(3);
    ASSERT_TRUE(becomesReady(list));
    QString error;
    // Not made yet: the view is scrolled to it.
    SharedPtr<Object> kiwi = item(list, QStringLiteral("Kiwi"), &error);
    ASSERT_TRUE(kiwi) << error;
    QObject *delegate = QtWrapper::qobjectOf(kiwi);
    ASSERT_NE(delegate, nullptr);
    bool showsKiwi = false;
    for (QQuickItem *child : qobject_cast<QQuickItem *>(delegate)->childItems())
        showsKiwi = showsKiwi || child->property("text").toString() == QLatin1String("Kiwi");
    EXPECT_TRUE(showsKiwi);
    EXPECT_TRUE(geometryDelegateFor(kiwi)->isVisible(kiwi));

    SharedPtr<Object> mango = item(list, 10, 0, &error);
    ASSERT_TRUE(mango) << error;
    EXPECT_NE(QtWrapper::qobjectOf(mango), delegate);

    EXPECT_FALSE(item(list, 40, 0, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("outside the view of 12 items"))) << error;
    EXPECT_FALSE(item(list, QStringLiteral("Papaya"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("the view has no item 'Papaya'"))) << error;
}
#endif
