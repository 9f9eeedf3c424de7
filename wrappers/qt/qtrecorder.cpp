#include "qtrecorder.h"

#include "eventdata.h"
#include "hook.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "qtgeometrydelegate.h"
#include "qtitemclass.h"
#include "qtnaming.h"
#include "qtobjectregistry.h"
#include "qtobjecttree.h"
#include "qtquick.h"
#include "wrapper.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QTabBar>

namespace Tolvex {

namespace {

// Typing pauses longer than this end the event that folds it.
constexpr int TypingPauseMs = 1500;

// The object model's modifier word and button values.
int modifierWord(Qt::KeyboardModifiers modifiers)
{
    int word = 0;
    if (modifiers & Qt::ControlModifier)
        word |= 128;
    if (modifiers & Qt::ShiftModifier)
        word |= 256;
    if (modifiers & Qt::AltModifier)
        word |= 512;
    if (modifiers & Qt::MetaModifier)
        word |= 1024;
    return word;
}

int buttonValue(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return 1;
    case Qt::MiddleButton:
        return 2;
    case Qt::RightButton:
        return 4;
    default:
        return 0;
    }
}

SharedPtr<Object> number(int value)
{
    return Inspector::self()->createPrimitive(value);
}

SharedPtr<Object> string(const QString &value)
{
    return Inspector::self()->createPrimitive(value);
}

// The names of keys without a character of their own, as scripts write them
// between angle brackets.
QString specialKeyName(int key)
{
    static const QHash<int, QString> names = {
        {Qt::Key_Return, QStringLiteral("Return")},
        {Qt::Key_Enter, QStringLiteral("Return")},
        {Qt::Key_Tab, QStringLiteral("Tab")},
        {Qt::Key_Backspace, QStringLiteral("Backspace")},
        {Qt::Key_Delete, QStringLiteral("Delete")},
        {Qt::Key_Escape, QStringLiteral("Escape")},
        {Qt::Key_Left, QStringLiteral("Left")},
        {Qt::Key_Right, QStringLiteral("Right")},
        {Qt::Key_Up, QStringLiteral("Up")},
        {Qt::Key_Down, QStringLiteral("Down")},
        {Qt::Key_Home, QStringLiteral("Home")},
        {Qt::Key_End, QStringLiteral("End")},
        {Qt::Key_PageUp, QStringLiteral("PageUp")},
        {Qt::Key_PageDown, QStringLiteral("PageDown")},
        {Qt::Key_Insert, QStringLiteral("Insert")},
        {Qt::Key_Space, QStringLiteral("Space")},
        {Qt::Key_Print, QStringLiteral("Print")},
        {Qt::Key_Pause, QStringLiteral("Pause")},
        {Qt::Key_CapsLock, QStringLiteral("CapsLock")},
        {Qt::Key_NumLock, QStringLiteral("NumLock")},
        {Qt::Key_ScrollLock, QStringLiteral("ScrollLock")},
        {Qt::Key_Menu, QStringLiteral("MenuRight")},
    };
    if (key >= Qt::Key_F1 && key <= Qt::Key_F24)
        return QStringLiteral("F%1").arg(key - Qt::Key_F1 + 1);
    if (key == Qt::Key_Backtab)
        return QStringLiteral("Shift+Tab");
    return names.value(key);
}

bool isModifierKey(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt ||
           key == Qt::Key_Meta || key == Qt::Key_AltGr || key == Qt::Key_Super_L ||
           key == Qt::Key_Super_R;
}

// A key press in the key notation of scripts: a plain character as itself
// ("<" as "<<>"), anything else between brackets with its modifiers.
QString keyNotation(const QKeyEvent *event)
{
    const int key = event->key();
    if (isModifierKey(key))
        return QString();
    const Qt::KeyboardModifiers held = event->modifiers() & ~Qt::KeypadModifier;
    const QString text = event->text();
    const bool printable = text.size() == 1 && text[0].isPrint() && key != Qt::Key_Space;
    if (printable && !(held & ~Qt::ShiftModifier))
        return text == QLatin1String("<") ? QStringLiteral("<<>") : text;
    if (key == Qt::Key_Space && !held)
        return QStringLiteral(" ");
    QString name = specialKeyName(key);
    if (name.isEmpty()) {
        if (key >= 0x20 && key < 0x7f)
            name = QString(QChar(key)).toLower();
        else if (printable)
            name = text;
        else
            return QString();
    }
    QString prefix;
    if (held & Qt::ControlModifier)
        prefix += QStringLiteral("Ctrl+");
    if (held & Qt::AltModifier)
        prefix += QStringLiteral("Alt+");
    if (held & Qt::MetaModifier)
        prefix += QStringLiteral("Win+");
    if ((held & Qt::ShiftModifier) && key != Qt::Key_Backtab)
        prefix += QStringLiteral("Shift+");
    return QLatin1Char('<') + prefix + name + QLatin1Char('>');
}

bool compressTyping(const QObject *target)
{
    Hook *hook = Hook::instance();
    const bool wanted = !hook || hook->eventCompressionEnabled(QStringLiteral("type"));
    return wanted && Inspector::self()->isKeyEventCompressionAllowed(
                         QString::fromLatin1(target->metaObject()->className())) != 0;
}

bool insideComboPopup(const QObject *object)
{
    for (const QObject *o = object; o; o = o->parent())
        if (o->inherits("QComboBoxPrivateContainer"))
            return true;
    return false;
}

QAbstractItemView *viewOfViewport(QObject *object)
{
    auto *view = qobject_cast<QAbstractItemView *>(object ? object->parent() : nullptr);
    return view && view->viewport() == object ? view : nullptr;
}

} // namespace

// An event that may still change: a click that may become a double click,
// typing that may go on.
struct QtRecorder::Pending
{
    QString method;
    QPointer<QObject> target;
    QString objectName;
    ObjectList args;
    QString itemText;
    QString typed;

    EventData data() const
    {
        ObjectList arguments = args;
        if (method == QLatin1String("type"))
            arguments = ObjectList{string(typed)};
        EventData event(method, objectName, arguments);
        if (!itemText.isEmpty())
            event.setItemText(itemText);
        return event;
    }
};

QtRecorder::QtRecorder(Wrapper *wrapper) : QObject(wrapper), m_wrapper(wrapper)
{
    m_pendingTimer.setSingleShot(true);
    connect(&m_pendingTimer, &QTimer::timeout, this, &QtRecorder::flush);
    // Before the Hook says goodbye to the server on the same signal.
    if (QCoreApplication *app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, &QtRecorder::flush);
}

QtRecorder::~QtRecorder()
{
    setRecording(false);
}

void QtRecorder::setRecording(bool on)
{
    if (on == m_recording)
        return;
    m_recording = on;
    QCoreApplication *app = QCoreApplication::instance();
    if (on) {
        if (app)
            app->installEventFilter(this);
        return;
    }
    flush();
    if (app)
        app->removeEventFilter(this);
    for (const QMetaObject::Connection &c : std::as_const(m_comboBoxes))
        disconnect(c);
    m_comboBoxes.clear();
    m_press = Press();
}

QString QtRecorder::nameOf(QObject *object)
{
    const QString real = QtNaming::realName(object);
    const QString reused = m_wrapper->getExistingRealName(QtObjectRegistry::wrap(object), real);
    return reused.isEmpty() ? real : reused;
}

void QtRecorder::record(const EventData &data)
{
    if (Inspector::self()->isEventRecordingEnabled())
        Inspector::self()->recordEvent(data);
}

void QtRecorder::flush()
{
    m_pendingTimer.stop();
    const std::unique_ptr<Pending> pending = std::move(m_pending);
    if (pending)
        record(pending->data());
}

void QtRecorder::hold(std::unique_ptr<Pending> pending, int waitMs)
{
    flush();
    m_pending = std::move(pending);
    m_pendingTimer.start(waitMs);
}

// Qt hands a mouse event on to the parents of a widget that ignores it, as
// a copy with the same time stamp; a key event as the same event, which the
// focus test in keyPressed tells apart.
bool QtRecorder::isFirstDelivery(const QInputEvent *event)
{
    if (!event->spontaneous())
        return false;
    if (event->type() == QEvent::KeyPress)
        return true;
    const quint64 timestamp = event->timestamp();
    if (int(event->type()) == m_lastType && timestamp == m_lastTimestamp)
        return false;
    m_lastType = int(event->type());
    m_lastTimestamp = timestamp;
    return true;
}

bool QtRecorder::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool mouse = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease ||
                       type == QEvent::MouseButtonDblClick;
    if (!mouse && type != QEvent::KeyPress)
        return false;
    // Widgets get their events after their native window; Quick items get
    // theirs from their window, which is where they are recorded.
    const bool widget = watched->isWidgetType();
    if (!(widget || QtQuickSupport::isWindow(watched)) || QtObjectTree::isAgentObject(watched))
        return false;
    if (!isFirstDelivery(static_cast<QInputEvent *>(event)))
        return false;
    switch (type) {
    case QEvent::MouseButtonPress:
        mousePressed(watched, static_cast<QMouseEvent *>(event));
        break;
    case QEvent::MouseButtonRelease:
        mouseReleased(watched, static_cast<QMouseEvent *>(event));
        break;
    case QEvent::MouseButtonDblClick:
        mouseDoubleClicked(watched, static_cast<QMouseEvent *>(event));
        break;
    default:
        keyPressed(watched, static_cast<QKeyEvent *>(event));
        break;
    }
    return false;
}

void QtRecorder::mousePressed(QObject *target, const QMouseEvent *event)
{
    const QPoint position = event->position().toPoint();
    m_press = Press{target, position, event->globalPosition().toPoint(),
                    buttonValue(event->button()), modifierWord(event->modifiers())};
    if (auto *bar = qobject_cast<QMenuBar *>(target)) {
        // A menu opens on the press; its title is what a test activates.
        if (QAction *action = bar->actionAt(position)) {
            flush();
            record(EventData(QStringLiteral("activateItem"), nameOf(bar),
                             ObjectList{string(QtNaming::displayText(action->text()))}));
        }
        m_press = Press();
        return;
    }
    QComboBox *combo = qobject_cast<QComboBox *>(target);
    if (!combo && target->parent())
        combo = qobject_cast<QComboBox *>(target->parent());
    if (combo)
        watchComboBox(combo);
}

void QtRecorder::mouseReleased(QObject *target, const QMouseEvent *event)
{
    if (m_skipNextRelease) {
        m_skipNextRelease = false;
        m_press = Press();
        return;
    }
    QObject *pressed = m_press.target;
    if (!pressed || pressed != target || m_press.button != buttonValue(event->button())) {
        m_press = Press();
        return;
    }
    // In a Quick window the click belongs to the item that took the press,
    // known now that the window has delivered it.
    if (QtQuickSupport::isWindow(target)) {
        QObject *item = QtQuickSupport::pressGrabber(event);
        if (!item)
            item = QtQuickSupport::inputItemAt(target, m_press.globalPosition);
        if (item) {
            m_press.position =
                m_press.globalPosition - QtGeometryDelegate::logicalBounds(item).topLeft();
            pressed = item;
        }
    }
    clicked(pressed, event);
    m_press = Press();
}

void QtRecorder::clicked(QObject *target, const QMouseEvent *event)
{
    const Press press = m_press;
    const QPoint moved = event->globalPosition().toPoint() - press.globalPosition;
    const QString className = QString::fromLatin1(target->metaObject()->className());
    if (moved.manhattanLength() >= QApplication::startDragDistance() &&
        Inspector::self()->hasRecordMouseDrag(className)) {
        flush();
        record(EventData(QStringLiteral("mouseDrag"), nameOf(target),
                         ObjectList{number(press.position.x()), number(press.position.y()),
                                    number(moved.x()), number(moved.y()), number(press.modifiers),
                                    number(press.button)}));
        return;
    }
    if (insideComboPopup(target))
        return;
    if (auto *menu = qobject_cast<QMenu *>(target)) {
        QAction *action = menu->actionAt(press.position);
        if (action && !action->isSeparator()) {
            flush();
            record(EventData(QStringLiteral("activateItem"), nameOf(menu),
                             ObjectList{string(QtNaming::displayText(action->text()))}));
        }
        return;
    }
    auto pending = std::make_unique<Pending>();
    pending->target = target;
    const ObjectList where{number(press.position.x()), number(press.position.y()),
                           number(press.modifiers), number(press.button)};
    if (QAbstractItemView *view = viewOfViewport(target)) {
        const QModelIndex index = view->indexAt(press.position);
        if (index.isValid()) {
            const QRect rect = view->visualRect(index);
            const QString text = QtItemClass::text(index);
            pending->method = QStringLiteral("clickItem");
            pending->target = view;
            pending->objectName = nameOf(view);
            pending->itemText = text;
            pending->args = ObjectList{string(text), number(press.position.x() - rect.x()),
                                       number(press.position.y() - rect.y()),
                                       number(press.modifiers), number(press.button)};
            hold(std::move(pending), QApplication::doubleClickInterval());
            return;
        }
    }
    if (auto *tabs = qobject_cast<QTabBar *>(target); tabs && tabs->tabAt(press.position) >= 0) {
        flush();
        record(EventData(
            QStringLiteral("clickTab"), nameOf(tabs),
            ObjectList{string(QtNaming::displayText(tabs->tabText(tabs->tabAt(press.position))))}));
        return;
    }
    pending->objectName = nameOf(target);
    if (qobject_cast<QAbstractButton *>(target) && press.button == 1 && press.modifiers == 0) {
        pending->method = QStringLiteral("clickButton");
    } else {
        pending->method = QStringLiteral("mouseClick");
        pending->args = where;
    }
    hold(std::move(pending), QApplication::doubleClickInterval());
}

void QtRecorder::mouseDoubleClicked(QObject *target, const QMouseEvent *event)
{
    QObject *pressedTarget = target;
    QPoint position = event->position().toPoint();
    if (QtQuickSupport::isWindow(target)) {
        if (QObject *item =
                QtQuickSupport::inputItemAt(target, event->globalPosition().toPoint())) {
            position = event->globalPosition().toPoint() -
                       QtGeometryDelegate::logicalBounds(item).topLeft();
            pressedTarget = item;
        }
    }
    m_skipNextRelease = true;
    const int modifiers = modifierWord(event->modifiers());
    const int button = buttonValue(event->button());
    const bool onPending = m_pending && m_pending->method != QLatin1String("type");
    if (onPending && m_pending->method == QLatin1String("clickItem")) {
        m_pendingTimer.stop();
        m_pending->method = QStringLiteral("doubleClickItem");
        flush();
        return;
    }
    auto *view = viewOfViewport(pressedTarget);
    if (onPending && (m_pending->target == pressedTarget || (view && m_pending->target == view)))
        m_pending.reset();
    flush();
    record(EventData(
        QStringLiteral("doubleClick"), nameOf(pressedTarget),
        ObjectList{number(position.x()), number(position.y()), number(modifiers), number(button)}));
}

void QtRecorder::keyPressed(QObject *target, const QKeyEvent *event)
{
    // A key goes first to the focus widget, then to its parents if the
    // focus widget ignores it; it is recorded on the first.
    if (QtQuickSupport::isWindow(target)) {
        target = QtQuickSupport::activeFocusItem(target);
        if (!target)
            return;
    } else if (target != QApplication::focusWidget()) {
        return;
    }
    // Menus are recorded by what they activate.
    if (qobject_cast<QMenu *>(target) || qobject_cast<QMenuBar *>(target))
        return;
    const QString keys = keyNotation(event);
    if (keys.isEmpty())
        return;
    const bool compress = compressTyping(target);
    if (compress && m_pending && m_pending->method == QLatin1String("type") &&
        m_pending->target == target) {
        m_pending->typed += keys;
        m_pendingTimer.start(TypingPauseMs);
        return;
    }
    auto pending = std::make_unique<Pending>();
    pending->method = QStringLiteral("type");
    pending->target = target;
    pending->objectName = nameOf(target);
    pending->typed = keys;
    if (compress) {
        hold(std::move(pending), TypingPauseMs);
        return;
    }
    flush();
    record(pending->data());
}

void QtRecorder::watchComboBox(QComboBox *combo)
{
    if (m_comboBoxes.contains(combo))
        return;
    const QPointer<QComboBox> guard(combo);
    m_comboBoxes.insert(combo, connect(combo, &QComboBox::activated, this, [this, guard](int i) {
                            if (!guard || !m_recording)
                                return;
                            flush();
                            record(EventData(QStringLiteral("selectOption"), nameOf(guard),
                                             ObjectList{string(guard->itemText(i))}));
                        }));
    connect(combo, &QObject::destroyed, this, [this](QObject *gone) { m_comboBoxes.remove(gone); });
}

} // namespace Tolvex
