// A small QML scene: items in the tree, their names with QML ids, their
// properties (QML's own ones too), functions, geometry and list views.

#include "qtwrappertest.h"

#include "delegate.h"
#include "inspector.h"
#include "objectlist.h"
#include "objecttreedump.h"
#include "uielement.h"

#include <gtest/gtest.h>

#include "qmlscene.h"

#include <QQuickItem>
#include <QQuickView>

#include <functional>
#include <memory>

using namespace Tolvex;
using namespace QtWrapperTest;

TEST(QtQuick, ItemsAreInTheTreeBelowTheirWindow)
{
    QmlScene scene;
    ASSERT_NE(scene.root, nullptr);
    bool listed = false;
    for (const SharedPtr<Object> &o : Inspector::self()->objects())
        listed = listed || QtWrapper::qobjectOf(o) == scene.view.get();
    EXPECT_TRUE(listed);

    SharedPtr<Object> root = objectFor(scene.root);
    SharedPtr<Object> content = root->parent();
    ASSERT_TRUE(content);
    EXPECT_EQ(QtWrapper::qobjectOf(content), scene.view->contentItem());
    EXPECT_EQ(QtWrapper::qobjectOf(content->parent()), scene.view.get());
    QStringList types;
    for (const SharedPtr<Object> &child : root->children())
        types << child->className().section(QStringLiteral("_QML"), 0, 0);
    EXPECT_EQ(types.mid(0, 4),
              QStringList({"QQuickText", "QQuickRectangle", "QQuickTextInput", "QQuickListView"}));
}

TEST(QtQuick, NamesCarryQmlIdsAndFindTheirItems)
{
    QmlScene scene;
    QQuickItem *ok = scene.item("ok");
    ASSERT_NE(ok, nullptr);
    const QString window = realName(scene.view.get());
    EXPECT_EQ(window, QStringLiteral("{title='Fruit stand' type='QQuickView'}"));
    const QString name = realName(ok);
    EXPECT_EQ(name,
              QStringLiteral("{id='okButton' objectName='ok' type='QQuickRectangle' window=") +
                  window + QStringLiteral("}"));
    EXPECT_EQ(findQObject(name), ok);
    EXPECT_EQ(findQObject(QStringLiteral("{id='input' type='QQuickTextInput'}")),
              scene.root->childItems().at(2));
    const QString heading = realName(scene.root->childItems().at(0));
    EXPECT_TRUE(heading.contains(QStringLiteral("text='Fruits'"))) << heading.toStdString();
    EXPECT_EQ(findQObject(heading), scene.root->childItems().at(0));

    // Delegates of a list view have the view as their container.
    QQuickItem *list = scene.root->childItems().at(3);
    bool checked = false;
    for (QQuickItem *delegate : itemsBelow(list)) {
        if (delegate->property("text").toString() != QLatin1String("Banana"))
            continue;
        const QString n = realName(delegate);
        EXPECT_TRUE(n.contains(QStringLiteral("container={id='fruits'"))) << n.toStdString();
        EXPECT_EQ(findQObject(n), delegate);
        checked = true;
    }
    EXPECT_TRUE(checked);
}

TEST(QtQuick, QmlPropertiesAndFunctionsAreMembers)
{
    QmlScene scene;
    QQuickItem *ok = scene.item("ok");
    ASSERT_NE(ok, nullptr);
    SharedPtr<Object> o = objectFor(ok);
    EXPECT_EQ(property(o, QStringLiteral("clicks"))->toInteger(), 0);
    EXPECT_TRUE(setProperty(ok, QStringLiteral("clicks"), number(5)));
    EXPECT_EQ(ok->property("clicks").toInt(), 5);
    EXPECT_EQ(property(o, QStringLiteral("color"))->toString(), QStringLiteral("#4682b4"));
    EXPECT_TRUE(setProperty(ok, QStringLiteral("color"), text(QStringLiteral("red"))));
    EXPECT_EQ(ok->property("color").value<QColor>(), QColor(Qt::red));
    EXPECT_DOUBLE_EQ(property(o, QStringLiteral("width"))->toDouble(), 80.0);
    EXPECT_TRUE(setProperty(ok, QStringLiteral("width"), number(90)));
    EXPECT_DOUBLE_EQ(ok->width(), 90.0);
    // A QML function is an invokable method of its object's class.
    SharedPtr<Object> greeting = call(scene.root, QStringLiteral("greet"), {number(3)});
    ASSERT_TRUE(greeting);
    EXPECT_EQ(greeting->toString(), QStringLiteral("hi 3"));
}

TEST(QtQuick, ItemGeometryIsOnTheScreenWhereTheItemIs)
{
    QmlScene scene;
    QQuickItem *ok = scene.item("ok");
    SharedPtr<Object> o = objectFor(ok);
    const GeometryDelegate *geometry = geometryDelegateFor(o);
    ASSERT_NE(geometry, nullptr);
    const QPoint origin = scene.view->mapToGlobal(QPoint(0, 0));
    EXPECT_EQ(geometry->globalBounds(o), Rect<2>(origin.x() + 10, origin.y() + 30, 80, 30));
    EXPECT_TRUE(geometry->isVisible(o));
    EXPECT_EQ(QtWrapper::qobjectOf(geometry->window(o)), scene.view.get());
    ok->setVisible(false);
    EXPECT_FALSE(geometry->isVisible(o));
}

TEST(QtQuick, SnapshotsGiveItemsTheirStandardTypesTextsAndPlaces)
{
    QmlScene scene;
    ASSERT_NE(scene.root, nullptr);
    DumpFilters filters;
    QString error;
    ASSERT_TRUE(ObjectTreeDump::parseFilters(
        {QByteArray("<objectdump wrapper='Qt'><element type='*'><screenshot exclude='true'/>"
                    "<screenshotIfRoot exclude='true'/><transparentNodes exclude='true'/>"
                    "</element></objectdump>")},
        &filters, &error))
        << qPrintable(error);
    ObjectTreeDump dump({});
    const std::unique_ptr<UIAbstraction::UIElement> window(
        dump.dumpObjectTree(objectFor(scene.view.get()), filters, &error));
    ObjectTreeDump::deleteFilters(&filters);
    ASSERT_TRUE(window) << qPrintable(error);
    EXPECT_EQ(window->standardType(), UIAbstraction::StandardType::Window());
    EXPECT_EQ(window->text(), QStringLiteral("Fruit stand"));

    QMap<QString, const UIAbstraction::UIElement *> byText;
    const std::function<void(const UIAbstraction::UIElement *)> walk =
        [&](const UIAbstraction::UIElement *e) {
            if (!e->text().isEmpty())
                byText.insert(e->text(), e);
            for (const UIAbstraction::UIElement *child : e->children())
                walk(child);
        };
    walk(window.get());
    const UIAbstraction::UIElement *input = byText.value(QStringLiteral("hello"));
    ASSERT_NE(input, nullptr) << qPrintable(QStringList(byText.keys()).join(u','));
    EXPECT_EQ(input->standardType(), UIAbstraction::StandardType::TextInput());
    EXPECT_EQ(input->simplifiedType(), QStringLiteral("TextInput"));
    const QQuickItem *inputItem = scene.root->childItems().at(2);
    EXPECT_EQ(input->geometry().rect(),
              QRect(inputItem->mapToGlobal(QPointF(0, 0)).toPoint(), inputItem->size().toSize()));
    ASSERT_NE(byText.value(QStringLiteral("Fruits")), nullptr);
    EXPECT_EQ(byText.value(QStringLiteral("Fruits"))->simplifiedType(), QStringLiteral("Text"));
    // The list's delegates that are shown are there with their texts.
    EXPECT_NE(byText.value(QStringLiteral("Apple")), nullptr);
}
