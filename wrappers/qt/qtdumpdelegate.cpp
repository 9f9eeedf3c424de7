#include "qtdumpdelegate.h"

#include "objecttreedump.h"
#include "qtobjectregistry.h"
#include "uielement.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTableView>
#include <QTextEdit>
#include <QToolBar>
#include <QWidget>
#include <QWindow>

#include <cstring>

namespace Tolvex {

using UIAbstraction::StandardType;
using UIAbstraction::UIElement;

namespace {

bool classNameHas(const QObject *object, const char *word)
{
    for (const QMetaObject *mo = object->metaObject(); mo; mo = mo->superClass())
        if (QByteArray(mo->className()).contains(word))
            return true;
    return false;
}

StandardType standardTypeOf(const QObject *object)
{
    if (qobject_cast<const QCheckBox *>(object) || qobject_cast<const QRadioButton *>(object))
        return StandardType::CheckBox();
    if (qobject_cast<const QAbstractButton *>(object))
        return StandardType::Button();
    if (qobject_cast<const QLineEdit *>(object) || qobject_cast<const QTextEdit *>(object) ||
        qobject_cast<const QPlainTextEdit *>(object) ||
        qobject_cast<const QAbstractSpinBox *>(object))
        return StandardType::TextInput();
    if (qobject_cast<const QMenuBar *>(object))
        return StandardType::MenuBar();
    if (qobject_cast<const QMenu *>(object))
        return StandardType::Menu();
    if (qobject_cast<const QAction *>(object))
        return StandardType::MenuItem();
    if (qobject_cast<const QTableView *>(object))
        return StandardType::Table();
    if (qobject_cast<const QToolBar *>(object))
        return StandardType::ToolBar();
    if (qobject_cast<const QDialog *>(object))
        return StandardType::Dialog();
    if (object->isWidgetType() && static_cast<const QWidget *>(object)->isWindow())
        return StandardType::Window();
    if (object->isWindowType())
        return StandardType::Window();
    // Qt Quick controls, by the names of their classes.
    if (classNameHas(object, "QQuick")) {
        if (classNameHas(object, "CheckBox") || classNameHas(object, "RadioButton") ||
            classNameHas(object, "Switch"))
            return StandardType::CheckBox();
        if (classNameHas(object, "Button"))
            return StandardType::Button();
        if (classNameHas(object, "TextField") || classNameHas(object, "TextInput") ||
            classNameHas(object, "TextEdit") || classNameHas(object, "TextArea"))
            return StandardType::TextInput();
        if (classNameHas(object, "MenuBar"))
            return StandardType::MenuBar();
        if (classNameHas(object, "MenuItem"))
            return StandardType::MenuItem();
        if (classNameHas(object, "Menu"))
            return StandardType::Menu();
        if (classNameHas(object, "TableView"))
            return StandardType::Table();
        if (classNameHas(object, "ToolBar"))
            return StandardType::ToolBar();
        if (classNameHas(object, "Dialog"))
            return StandardType::Dialog();
    }
    return StandardType();
}

} // namespace

QString QtDumpDelegate::displayText(const QObject *object)
{
    if (!object)
        return QString();
    // A menu is a window of its own while it is open.
    if (const auto *menu = qobject_cast<const QMenu *>(object))
        return menu->title();
    if (object->isWidgetType() && static_cast<const QWidget *>(object)->isWindow())
        return static_cast<const QWidget *>(object)->windowTitle();
    if (object->isWindowType())
        return static_cast<const QWindow *>(object)->title();
    if (const auto *combo = qobject_cast<const QComboBox *>(object))
        return combo->currentText();
    if (const auto *edit = qobject_cast<const QTextEdit *>(object))
        return edit->toPlainText();
    if (const auto *edit = qobject_cast<const QPlainTextEdit *>(object))
        return edit->toPlainText();
    // Buttons, labels, line edits, actions and most Quick controls.
    const QVariant text = object->property("text");
    if (text.metaType() == QMetaType::fromType<QString>())
        return text.toString();
    const QVariant title = object->property("title");
    if (title.metaType() == QMetaType::fromType<QString>())
        return title.toString();
    return QString();
}

bool QtDumpDelegate::enterDump(SharedPtr<Object>, const DumpFilters &, QString *) const
{
    return true;
}

bool QtDumpDelegate::leaveDump(QString *) const
{
    return true;
}

bool QtDumpDelegate::dumpObject(SharedPtr<Object> obj, bool isRoot, UIElement **element,
                                const DumpFilters &filters, QString *error) const
{
    ObjectTreeDump *dump = ObjectTreeDump::current();
    if (!dump)
        return false;
    *element = dump->dumpObjectTreeImpl(obj, isRoot, filters, error);
    const QObject *object = QtObjectRegistry::qobject(obj);
    // A placeholder for a node without a view takes nothing.
    if (*element && object && (*element)->id() != QLatin1String("dummy")) {
        (*element)->setStandardType(standardTypeOf(object));
        (*element)->setText(displayText(object));
    }
    return true;
}

bool QtDumpDelegate::simplifiedType(SharedPtr<Object> obj, QString *type) const
{
    const QObject *object = QtObjectRegistry::qobject(obj);
    if (!object)
        return false;
    QString name = QString::fromLatin1(object->metaObject()->className());
    // Types declared in QML carry a suffix after their base name.
    const qsizetype suffix = name.indexOf(QLatin1String("_QML"));
    if (suffix > 0)
        name.truncate(suffix);
    for (const char *prefix : {"QQuick", "Q"})
        if (name.startsWith(QLatin1String(prefix)) && name.size() > qsizetype(strlen(prefix)) &&
            name.at(qsizetype(strlen(prefix))).isUpper()) {
            name.remove(0, qsizetype(strlen(prefix)));
            break;
        }
    *type = name;
    return true;
}

} // namespace Tolvex
