// Qt Designer from the distribution, an application none of us wrote,
// started unmodified with the agent and driven through the client API: its
// start-up dialog closed by a click, its main window found by a
// multi-property name, its File menu opened by a native click on the menu
// bar, and the menu's items listed and read.
#include "remoteapplication.h"
#include "uielement.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace Tolvex;

TEST(QtDesigner, MainWindowByNameMenuOpenedByANativeClickItsItemsListed)
{
    ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
    // Designer keeps its state under the home directory: a fresh one.
    QTemporaryDir home;
    LaunchOptions options;
    options.program = QStringLiteral(DESIGNER_PATH);
    options.prefix = QStringLiteral(TOLVEX_BUILD_PREFIX);
    options.environment = {{QStringLiteral("HOME"), home.path()},
                           {QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("c"))},
                           {QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb")}};
    // A sanitized agent in a program built without: its runtime goes first,
    // and the program's leaks are not ours to report.
    const QString foreignRuntime = QStringLiteral(TOLVEX_SANITIZER_PRELOAD_FOREIGN);
    if (!foreignRuntime.isEmpty()) {
        options.environment.insert(QStringLiteral("LD_PRELOAD"), foreignRuntime);
        options.environment.insert(QStringLiteral("ASAN_OPTIONS"),
                                   QStringLiteral("detect_leaks=0"));
    }
    QString error;
    std::unique_ptr<RemoteApplication> designer = RemoteApplication::launch(options, &error);
    ASSERT_TRUE(designer) << qPrintable(error);
    designer->setDefaultTimeoutMs(15000);

    // The "New Form" dialog comes first, modal: the main window is not
    // ready behind it, and says so.
    const QString mainWindow =
        QStringLiteral("{type='DockedMainWindow' windowTitle='Qt Designer'}");
    const FunctionCallResult<RemoteObject> newForm =
        designer->waitForObject(QStringLiteral("{type='NewForm' windowTitle='New Form'}"));
    ASSERT_FALSE(newForm.isError()) << qPrintable(newForm.error);
    const FunctionCallResult<RemoteObject> behind = designer->waitForObject(mainWindow, 300);
    ASSERT_TRUE(behind.isError());
    EXPECT_TRUE(behind.error.contains(QStringLiteral("behind the modal window")))
        << qPrintable(behind.error);

    const FunctionCallResult<RemoteObject> close = designer->waitForObject(
        QStringLiteral("{text='Close' type='QPushButton' window={type='NewForm'}}"));
    ASSERT_FALSE(close.isError()) << qPrintable(close.error);
    ASSERT_FALSE(close.value.click().isError());

    const FunctionCallResult<RemoteObject> window = designer->waitForObject(mainWindow);
    ASSERT_FALSE(window.isError()) << qPrintable(window.error);
    EXPECT_EQ(window.value.property(QStringLiteral("windowTitle")).value,
              QVariant(QStringLiteral("Qt Designer")));

    // The File menu sits at the left of the menu bar.
    const FunctionCallResult<RemoteObject> menuBar =
        designer->waitForObject(QStringLiteral("{type='QMenuBar' window=%1}").arg(mainWindow));
    ASSERT_FALSE(menuBar.isError()) << qPrintable(menuBar.error);
    ASSERT_FALSE(menuBar.value.click(QPoint(15, 10)).isError());
    const FunctionCallResult<RemoteObject> menu =
        designer->waitForObject(QStringLiteral("{title='File' type='QMenu'}"));
    ASSERT_FALSE(menu.isError()) << qPrintable(menu.error);
    EXPECT_EQ(menu.value.property(QStringLiteral("visible")).value, QVariant(true));

    const FunctionCallResult<QList<RemoteObject>> items = menu.value.children();
    ASSERT_FALSE(items.isError()) << qPrintable(items.error);
    QStringList texts;
    for (const RemoteObject &item : items.value)
        if (item.className() == QLatin1String("QAction"))
            texts.append(item.property(QStringLiteral("text")).value.toString());
    for (const char *expected : {"&New...", "&Open...", "&Save", "&Quit"})
        EXPECT_TRUE(texts.contains(QString::fromUtf8(expected))) << qPrintable(texts.join(u'|'));

    // A snapshot of the whole main window: its picture, and its menu bar
    // and the open File menu with their standard types and texts.
    const QByteArray filter = R"(<objectdump wrapper="Qt">
      <element type="*">
        <identifyingProperties><property name="objectName"/></identifyingProperties>
        <screenshot exclude="true"/><transparentNodes exclude="true"/>
      </element>
    </objectdump>)";
    const FunctionCallResult<ArgumentList> dumped =
        designer->call(QStringLiteral("dumpObject"), {window.value.id(), filter});
    ASSERT_FALSE(dumped.isError()) << qPrintable(dumped.error);
    const QByteArray bytes = dumped.value.value(0).toByteArray();
    ASSERT_FALSE(bytes.isEmpty());
    ASSERT_EQ(quint8(bytes.at(0)), 0xC5) << bytes.constData();
    const QList<UIAbstraction::UIElement *> trees =
        UIAbstraction::UIElement::elementsFromByteArray(bytes.mid(1));
    ASSERT_EQ(trees.size(), 1);
    const std::unique_ptr<UIAbstraction::UIElement> root(trees.first());
    EXPECT_EQ(root->standardType(), UIAbstraction::StandardType::Window());
    EXPECT_EQ(root->text(), QStringLiteral("Qt Designer"));
    EXPECT_TRUE(root->isImageSet());
    QStringList menus;
    int elements = 0;
    const std::function<void(const UIAbstraction::UIElement *)> walk =
        [&](const UIAbstraction::UIElement *e) {
            ++elements;
            if (e->standardType() == UIAbstraction::StandardType::Menu() ||
                e->standardType() == UIAbstraction::StandardType::MenuBar())
                menus.append(e->standardType().toString() + QLatin1Char(':') + e->text());
            for (const UIAbstraction::UIElement *child : e->children())
                walk(child);
        };
    walk(root.get());
    EXPECT_GT(elements, 30);
    EXPECT_TRUE(menus.contains(QStringLiteral("MenuBar:"))) << qPrintable(menus.join(u'|'));
    EXPECT_TRUE(menus.contains(QStringLiteral("Menu:&File"))) << qPrintable(menus.join(u'|'));

    designer->quit(10000);
    EXPECT_FALSE(designer->isRunning());
}
