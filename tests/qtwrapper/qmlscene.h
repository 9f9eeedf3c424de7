#pragma once

// The QML scene of the wrapper's tests: a heading, a button made of a
// rectangle and a mouse area, a text input, and a list view of a dozen
// fruits in a window of its own.

#include "eventloop.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>

#include <memory>

namespace QtWrapperTest {

inline const char *const Scene = R"(
import QtQuick

Rectangle {
    id: root
    objectName: "root"
    width: 320; height: 400
    function greet(n) { return "hi " + n }

    Text { id: heading; text: "Fruits"; x: 4; y: 2 }
    Rectangle {
        id: okButton
        objectName: "ok"
        property int clicks: 0
        x: 10; y: 30; width: 80; height: 30
        color: "steelblue"
        MouseArea { anchors.fill: parent; onClicked: okButton.clicks++ }
        Text { anchors.centerIn: parent; text: "OK" }
    }
    TextInput { id: input; x: 10; y: 70; width: 200; height: 24; text: "hello" }
    ListView {
        id: fruits
        x: 10; y: 100; width: 200; height: 100
        clip: true
        model: ListModel {
            ListElement { name: "Apple" } ListElement { name: "Banana" }
            ListElement { name: "Cherry" } ListElement { name: "Date" }
            ListElement { name: "Elderberry" } ListElement { name: "Fig" }
            ListElement { name: "Grape" } ListElement { name: "Honeydew" }
            ListElement { name: "Kiwi" } ListElement { name: "Lemon" }
            ListElement { name: "Mango" } ListElement { name: "Nectarine" }
        }
        delegate: Rectangle {
            width: 200; height: 25
            Text { text: name; anchors.verticalCenter: parent.verticalCenter }
            MouseArea { anchors.fill: parent }
        }
    }
}
)";

struct QmlScene
{
    std::unique_ptr<QQuickView> view = std::make_unique<QQuickView>();
    QQuickItem *root = nullptr;

    explicit QmlScene(QPoint position = QPoint(40, 50))
    {
        auto *component = new QQmlComponent(view->engine(), view.get());
        component->setData(QByteArray(Scene), QUrl(QStringLiteral("qrc:/scene.qml")));
        if (component->isError())
            ADD_FAILURE() << component->errorString().toStdString();
        root = qobject_cast<QQuickItem *>(component->create());
        view->setContent(QUrl(), component, root);
        view->setTitle(QStringLiteral("Fruit stand"));
        view->setPosition(position);
        view->show();
        TestSupport::waitUntil([this] { return view->isExposed(); }, 2000);
    }

    QQuickItem *item(const char *objectName) const
    {
        return root->findChild<QQuickItem *>(QString::fromLatin1(objectName));
    }
};

// The items below an item in the visual tree.
inline QList<QQuickItem *> itemsBelow(QQuickItem *item)
{
    QList<QQuickItem *> items;
    for (QQuickItem *child : item->childItems())
        items << child << itemsBelow(child);
    return items;
}

} // namespace QtWrapperTest
