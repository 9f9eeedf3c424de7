// plainqml: a small Qt Quick application that knows nothing of any test
// tool: a window with a text field, a button and a list, in QML.
//
// Options:
//   --quit-after MS   leave the event loop MS after it started
//
// Prints "loaded" once the scene is built, and "bye <status>" when the
// event loop has ended.
#include "quitafter.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include <cstdio>

namespace {

const char Scene[] = R"(
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ApplicationWindow {
    objectName: "mainWindow"
    title: "Plain QML"
    width: 360
    height: 320
    visible: true

    ColumnLayout {
        anchors.fill: parent
        TextField {
            id: field
            objectName: "name"
            placeholderText: "Name"
            Layout.fillWidth: true
        }
        Button {
            objectName: "add"
            text: "Add"
            onClicked: { fruit.append({ "name": field.text }); field.text = "" }
        }
        ListView {
            objectName: "items"
            Layout.fillWidth: true
            Layout.fillHeight: true
            model: ListModel {
                id: fruit
                ListElement { name: "Apples" }
                ListElement { name: "Pears" }
                ListElement { name: "Plums" }
            }
            delegate: Text { text: name }
        }
    }
}
)";

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData(QByteArray(Scene));
    if (engine.rootObjects().isEmpty()) {
        std::fprintf(stderr, "the scene did not load\n");
        return 1;
    }
    std::printf("loaded\n");
    std::fflush(stdout);
    quitAfterOption(&app);
    const int status = app.exec();
    std::printf("bye %d\n", status);
    return status;
}
