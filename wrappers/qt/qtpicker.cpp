#include "qtpicker.h"

#include "hook.h"
#include "qtgeometrydelegate.h"
#include "qtnaming.h"
#include "qtobjectregistry.h"
#include "qtobjecttree.h"
#include "qtquick.h"
#include "widgethighlighter.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

namespace Tolvex {

QtPicker::QtPicker(QObject *parent) : QObject(parent) {}

QtPicker::~QtPicker()
{
    setPicking(false);
}

void QtPicker::setPicking(bool on)
{
    if (on == m_picking)
        return;
    m_picking = on;
    m_swallowing = false;
    if (QCoreApplication *app = QCoreApplication::instance()) {
        if (on)
            app->installEventFilter(this);
        else
            app->removeEventFilter(this);
    }
    if (!on && m_hovered) {
        m_hovered = nullptr;
        if (WidgetHighlighter *highlighter = WidgetHighlighter::self())
            highlighter->hide();
    }
}

QObject *QtPicker::objectAt(QObject *window, const QPoint &globalPosition)
{
    QObject *target = nullptr;
    if (QtQuickSupport::isWindow(window))
        target = QtQuickSupport::inputItemAt(window, globalPosition);
    else if (qobject_cast<QApplication *>(QCoreApplication::instance()))
        target = QApplication::widgetAt(globalPosition);
    if (!target)
        target = window;
    return target && !QtObjectTree::isAgentObject(target) ? target : nullptr;
}

bool QtPicker::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool press = type == QEvent::MouseButtonPress;
    const bool rest = type == QEvent::MouseButtonRelease || type == QEvent::MouseButtonDblClick;
    const bool move = type == QEvent::MouseMove;
    if (!(press || rest || move) || !watched->isWindowType() ||
        QtObjectTree::isAgentObject(watched))
        return false;
    // The window has every mouse event before its widgets and items do:
    // what is taken here never reaches the application.
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const QPoint global = mouse->globalPosition().toPoint();
    if (move) {
        if (!m_swallowing)
            hover(objectAt(watched, global));
        return false;
    }
    if (press) {
        m_swallowing = true;
        pick(objectAt(watched, global));
        return true;
    }
    if (!m_swallowing)
        return false;
    if (type == QEvent::MouseButtonRelease)
        m_swallowing = false;
    return true;
}

void QtPicker::hover(QObject *target)
{
    if (target == m_hovered)
        return;
    m_hovered = target;
    WidgetHighlighter *highlighter = WidgetHighlighter::self();
    if (!highlighter)
        return;
    if (!target) {
        highlighter->hide();
        return;
    }
    const QRect bounds =
        QtGeometryDelegate::toNative(QtGeometryDelegate::logicalBounds(target), target);
    highlighter->setGeometry(Rect<1>(bounds.x(), bounds.y(), bounds.width(), bounds.height()));
    highlighter->setToolTip(QString::fromLatin1(target->metaObject()->className()));
    highlighter->show();
}

void QtPicker::pick(QObject *target)
{
    Hook *hook = Hook::instance();
    if (!target || !hook)
        return;
    hook->objectPicked(QtObjectRegistry::wrap(target), QtNaming::realName(target));
}

} // namespace Tolvex
