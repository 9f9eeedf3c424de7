#include "qtwrapper.h"

#include "classregistrar.h"
#include "commonwrapperapi.h"
#include "delegate.h"
#include "globalclass.h"
#include "hook.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "platformplugin.h"
#include "primitiveclassid.h"
#include "qtclass.h"
#include "qtdumpdelegate.h"
#include "qtgeometrydelegate.h"
#include "qthierarchydelegate.h"
#include "qtitemclass.h"
#include "qtitemviews.h"
#include "qtobjectregistry.h"
#include "qtpicker.h"
#include "qtquick.h"
#include "qtreadiness.h"
#include "qtrecorder.h"
#include "qtvalueclass.h"
#include "qtwindowdelegate.h"
#include "widgethighlighter.h"

#include <QAbstractItemView>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QWidget>
#include <QWindow>

namespace Tolvex {

namespace {

// The pixels of an object as the toolkit draws it.
QImage grabImage(QObject *object)
{
    if (!object)
        return QImage();
    if (object->isWidgetType())
        return static_cast<QWidget *>(object)->grab().toImage();
    if (QtQuickSupport::isItem(object) || QtQuickSupport::isWindow(object))
        return QtQuickSupport::grab(object);
    if (object->isWindowType()) {
        auto *window = static_cast<QWindow *>(object);
        if (QScreen *screen = window->screen())
            return screen->grabWindow(window->winId()).toImage();
    }
    return QImage();
}

SharedPtr<Object> grabWidget(const ObjectList &args, const Class *)
{
    const QImage image = grabImage(QtObjectRegistry::qobject(args.empty() ? nullptr : args[0]));
    if (image.isNull()) {
        Inspector::self()->setError(QStringLiteral("grabWidget: the object has no picture"));
        return nullptr;
    }
    return QtValueClass::forType(QMetaType::fromType<QImage>())->wrapValue(image);
}

// "grabWidget(object)" and "grabWidget(object, flags)" for scripts: the
// picture of a widget, a window or a Quick item as Qt renders it.
void registerGlobalMethods()
{
    Inspector *inspector = Inspector::self();
    auto *global = static_cast<GlobalClass *>(const_cast<Class *>(inspector->globalClass()));
    const Argument image(QtValueClass::forType(QMetaType::fromType<QImage>()),
                         ObjectAttribute::Value());
    const Argument object(QStringLiteral("object"), inspector->type(VoidClassId),
                          ObjectAttribute::Pointer());
    const Argument flags(QStringLiteral("flags"), inspector->type(IntClassId),
                         ObjectAttribute::Value());
    for (const Signature &signature : {Signature(object), Signature(object, flags)}) {
        auto *method =
            new GlobalMethod(QStringLiteral("grabWidget"), image, signature, &grabWidget);
        global->addMethod(method);
        if (Hook *hook = Hook::instance())
            hook->registerGlobalMethod(method);
    }
}

// What every wrapper of the process shares: the classes it starts with, its
// delegates and its global functions. Made once, kept to the end.
void setUpProcess()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    const ClassRegistrar batch;
    QtValueClass::registerAll();
    QtClass::forMetaObject(&QObject::staticMetaObject);
    QtItemClass::self();
    new QtHierarchyDelegate(QStringLiteral("QObject"));
    auto *topLevel = new QtHierarchyDelegate(QStringLiteral("Tolvex::ToplevelQt"));
    // The Inspector takes the top-level delegates once, at its first
    // lookup; one made before this wrapper has not seen this delegate.
    Inspector *inspector = Inspector::self();
    topLevel->resetAskedForTopLevel();
    inspector->numObjects();
    if (!topLevel->askedForTopLevel())
        inspector->addTopLevelHierarchyDelegate(topLevel);
    QtWindowDelegate::addAll();
    new QtDumpDelegate;
    CommonWrapperAPI::registerTypes();
    CommonWrapperAPI::registerConsoleFunctions();
    CommonWrapperAPI::registerClipboardFunctions();
    CommonWrapperAPI::registerNativeFunctions();
    registerGlobalMethods();
}

} // namespace

class QtWrapperPrivate
{
public:
    explicit QtWrapperPrivate(QtWrapper *wrapper)
        : recorder(new QtRecorder(wrapper)), picker(new QtPicker(wrapper))
    {}

    // Children of the wrapper.
    QtRecorder *recorder;
    QtPicker *picker;
};

QtWrapper::QtWrapper(QObject *parent) : Wrapper(parent), d(std::make_unique<QtWrapperPrivate>(this))
{
    setUpProcess();
    if (Inspector::self()->isEventRecordingEnabled())
        d->recorder->setRecording(true);
}

QtWrapper::~QtWrapper() = default;

SharedPtr<Object> QtWrapper::objectFor(QObject *object)
{
    return QtObjectRegistry::wrap(object);
}

QObject *QtWrapper::qobjectOf(const SharedPtr<Object> &object)
{
    return QtObjectRegistry::qobject(object);
}

QString QtWrapper::wrapperName() const
{
    return QStringLiteral("Qt");
}

bool QtWrapper::ownsObject(SharedPtr<Object> object) const
{
    return object && (QtClass::of(object) || QtItemClass::isItem(object) ||
                      dynamic_cast<const QtValueClass *>(object->type()));
}

bool QtWrapper::isObjectReady(SharedPtr<Object> object)
{
    QString reason;
    if (QtClass::of(object))
        reason = QtReadiness::notReadyReason(QtObjectRegistry::qobject(object));
    else if (QtItemClass::isItem(object))
        reason = QtItemViews::notReadyReason(object);
    if (reason.isEmpty())
        return true;
    Inspector::self()->setError(reason);
    return false;
}

namespace {

// The item of a view, or null with the error set for the Inspector.
template <typename... Where> SharedPtr<Object> itemIfReady(SharedPtr<Object> view, Where... where)
{
    QObject *object = QtObjectRegistry::qobject(view);
    QString error = QStringLiteral("The view no longer exists");
    SharedPtr<Object> item = object ? QtItemViews::readyItem(object, where..., &error) : nullptr;
    if (!item)
        Inspector::self()->setError(error);
    return item;
}

} // namespace

SharedPtr<Object> QtWrapper::getObjectItemIfReady(SharedPtr<Object> object, int row, int column)
{
    return itemIfReady(object, row, column);
}

SharedPtr<Object> QtWrapper::getObjectItemIfReady(SharedPtr<Object> object, const QString &text)
{
    return itemIfReady(object, text);
}

bool QtWrapper::isObjectItemReady(SharedPtr<Object> object, int row, int column)
{
    return bool(getObjectItemIfReady(object, row, column));
}

bool QtWrapper::isObjectItemReady(SharedPtr<Object> object, const QString &text)
{
    return bool(getObjectItemIfReady(object, text));
}

bool QtWrapper::possibleNameMatch(const QMap<QString, PropertyValue> &entry,
                                  const QMap<QString, PropertyValue> &wanted) const
{
    const QString type = QStringLiteral("type");
    return !entry.contains(type) || !wanted.contains(type) ||
           entry.value(type).matchingMode() != PropertyValue::Exact ||
           entry.value(type).stringValue() == wanted.value(type).stringValue();
}

void QtWrapper::spyModeChanged(bool on)
{
    d->picker->setPicking(on);
}

QString QtWrapper::highlightObject(SharedPtr<Object> object)
{
    WidgetHighlighter *highlighter = WidgetHighlighter::self();
    // A null object takes the highlight away.
    if (!object) {
        if (highlighter)
            highlighter->hide();
        return QString();
    }
    if (!highlighter)
        return PlatformPlugin::notSetMessage();
    const GeometryDelegate *geometry = geometryDelegateFor(object);
    if (!geometry || !geometry->isVisible(object))
        return QStringLiteral("Cannot highlight an object that is not on the screen");
    const Rect<1> bounds = geometry->nativeGlobalBounds(object);
    highlighter->setToolTipMode(0);
    highlighter->setToolTip(QString());
    highlighter->setGeometry(bounds);
    highlighter->show();
    return QString();
}

void QtWrapper::recordingStopped()
{
    d->recorder->flush();
}

void QtWrapper::notifyEventRecordingEnabled(bool on)
{
    d->recorder->setRecording(on);
}

QImage QtWrapper::qImage(SharedPtr<Object> object)
{
    QAbstractItemView *view = nullptr;
    QModelIndex index;
    if (QtItemClass::itemOf(object, &view, &index))
        return view->viewport()->grab(view->visualRect(index)).toImage();
    return grabImage(QtObjectRegistry::qobject(object));
}

} // namespace Tolvex
