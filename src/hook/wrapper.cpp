#include "wrapper.h"

#include "class.h"
#include "delegate.h"
#include "hook.h"
#include "inspector.h"
#include "keysequences.h"
#include "logging.h"
#include "method.h"
#include "nativeinterface.h"
#include "objectmap.h"
#include "objectname.h"
#include "platformplugin.h"
#include "property.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QStyleHints>

namespace Tolvex {

namespace {

// A name worked out for an object: the object map's name to reuse, or null
// when the map has none. The entry keeps its object alive, so the identity
// test cannot meet a reused address.
struct CachedName
{
    SharedPtr<Object> object;
    QString name;
};

// Keeps the text cursor from blinking while a picture is taken, and gives
// the old blink time back however the picture ends.
class CaretBlinkStop
{
public:
    CaretBlinkStop()
    {
        if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
            m_hints = QGuiApplication::styleHints();
            m_flashTime = m_hints->cursorFlashTime();
            m_hints->setCursorFlashTime(0);
        }
    }
    ~CaretBlinkStop()
    {
        if (m_hints)
            m_hints->setCursorFlashTime(m_flashTime);
    }
    CaretBlinkStop(const CaretBlinkStop &) = delete;
    CaretBlinkStop &operator=(const CaretBlinkStop &) = delete;

private:
    QStyleHints *m_hints = nullptr;
    int m_flashTime = 0;
};

QString notReadyReason()
{
    const QString error = Inspector::self()->lastError();
    return error.isEmpty() ? Wrapper::unknownNotReadyText() : error;
}

// The native interface of the agent's plug-in, or null.
NativeInterface *native()
{
    Hook *hook = Hook::instance();
    return hook ? hook->nativeInterface() : nullptr;
}

} // namespace

struct WrapperData
{
    WrapperData() { names.reserve(1009); }

    // By real name; objects of equal real names share one list.
    QHash<QString, QList<CachedName>> names;
};

Wrapper::Wrapper(QObject *parent) : QObject(parent), d(std::make_unique<WrapperData>()) {}

Wrapper::~Wrapper() = default;

FunctionCallResult<void> Wrapper::checkObjectReady(SharedPtr<Object> object)
{
    if (isObjectReady(object))
        return {};
    return FunctionCallResult<void>::failure(notReadyReason());
}

FunctionCallResult<SharedPtr<Object>> Wrapper::getReadyObjectItem(SharedPtr<Object> object, int row,
                                                                  int column)
{
    SharedPtr<Object> item = getObjectItemIfReady(object, row, column);
    if (!item)
        return FunctionCallResult<SharedPtr<Object>>::failure(notReadyReason());
    return item;
}

FunctionCallResult<SharedPtr<Object>> Wrapper::getReadyObjectItem(SharedPtr<Object> object,
                                                                  const QString &text)
{
    SharedPtr<Object> item = getObjectItemIfReady(object, text);
    if (!item)
        return FunctionCallResult<SharedPtr<Object>>::failure(notReadyReason());
    return item;
}

bool Wrapper::isObjectItemReady(SharedPtr<Object>, int, int)
{
    return true;
}

bool Wrapper::isObjectItemReady(SharedPtr<Object>, const QString &)
{
    return true;
}

SharedPtr<Object> Wrapper::getObjectItemIfReady(SharedPtr<Object> object, int row, int column)
{
    if (!isObjectItemReady(object, row, column))
        return nullptr;
    return Inspector::self()->createPrimitive(notWrappedItemText());
}

SharedPtr<Object> Wrapper::getObjectItemIfReady(SharedPtr<Object> object, const QString &text)
{
    if (!isObjectItemReady(object, text))
        return nullptr;
    return Inspector::self()->createPrimitive(notWrappedItemText());
}

void Wrapper::propertyValues(QList<ObjectPropertyValue>::iterator begin,
                             QList<ObjectPropertyValue>::iterator end)
{
    for (auto it = begin; it != end; ++it)
        it->result = it->property ? it->property->get(it->object) : nullptr;
}

QString Wrapper::getExistingRealName(SharedPtr<Object> object, const QString &realName)
{
    if (!object || !ObjectMap::isMultiPropertyName(realName))
        return QString();
    TOLVEX_TRACE_NAMEREUSE() << "performing lookup for name " << realName << object->className();

    auto cached = d->names.constFind(realName);
    if (cached != d->names.cend()) {
        TOLVEX_TRACE_NAMEREUSE() << "have cached names for this realname"
                                 << "names.size()" << cached->size();
        for (const CachedName &entry : *cached) {
            if (object->sameAs(entry.object)) {
                TOLVEX_TRACE_NAMEREUSE() << "reusing real name " << entry.name;
                return entry.name;
            }
        }
    }

    const auto remember = [this, &object, &realName](const QString &name) {
        d->names[realName].append(CachedName{object, name});
        return name;
    };

    const ObjectMap *map = ObjectMap::self();
    const QList<ObjectName> entries = map ? map->objectNames() : QList<ObjectName>();
    const ObjectName wanted(parseNameByProperties(realName, nullptr));
    for (const ObjectName &entry : entries) {
        if (entry.isMultiProperty() && entry == wanted)
            return remember(entry.qualifiedName());
    }

    TOLVEX_TRACE_NAMEREUSE() << "scanning " << entries.size()
                             << " object map entries for same realname";
    TOLVEX_TRACE_NAMEREUSE()
        << "scanning object map entries for name which resolves to given object, ";
    const QMap<QString, PropertyValue> wantedProperties = wanted.properties();
    for (const ObjectName &entry : entries) {
        if (!entry.isMultiProperty() || !possibleNameMatch(entry.properties(), wantedProperties))
            continue;
        const QString name = entry.qualifiedName();
        SharedPtr<Object> candidate = findObject(name);
        // A candidate that finds nothing is no error of the caller's.
        Inspector::self()->setError(QString());
        if (candidate && object->sameAs(candidate)) {
            TOLVEX_TRACE_NAMEREUSE() << "reusing real name " << name;
            return remember(name);
        }
    }

    // Remembered as "no name", so the scan is not repeated for this object.
    TOLVEX_TRACE_NAMEREUSE() << "failed to find any known name to reuse";
    return remember(QString());
}

SharedPtr<Object> Wrapper::findObject(const QString &name)
{
    return Inspector::self()->findObject(name);
}

bool Wrapper::possibleNameMatch(const QMap<QString, PropertyValue> &,
                                const QMap<QString, PropertyValue> &) const
{
    return true;
}

void Wrapper::exitAUT(int code)
{
    QCoreApplication::exit(code);
}

bool Wrapper::spyObjectChildren(SharedPtr<Object> object, QList<SpyObject> *rows)
{
    if (!object || !rows)
        return false;
    for (const SharedPtr<Object> &child : object->children())
        rows->append(SpyObject{child->name(), child->className(), true, supportsHighlight(child)});
    return true;
}

QImage Wrapper::qImage(SharedPtr<Object>)
{
    return QImage();
}

QVariant Wrapper::desktopImage()
{
    NativeInterface *n = native();
    const FunctionCallResult<Screenshot> shot =
        n ? n->desktopScreenshot(Rect<1>(), -1)
          : FunctionCallResult<Screenshot>::failure(PlatformPlugin::notSetMessage());
    if (shot.isError()) {
        logLine(QStringLiteral("Wrapper::desktopImage: Failed to take screenshot: ") + shot.error);
        return QVariant();
    }
    return shot.value.toVariant();
}

QString Wrapper::highlightObject(SharedPtr<Object>)
{
    return QStringLiteral("Object highlighting not supported");
}

bool Wrapper::supportsHighlight(SharedPtr<Object> object)
{
    const GeometryDelegate *geometry = geometryDelegateFor(object);
    return geometry && geometry->isVisible(object);
}

QImage Wrapper::grabObjectScreenshot(SharedPtr<Object> object, int flags, int delay)
{
    constexpr int NoNativeCapture = 2;
    if (!object)
        return QImage();
    TOLVEX_TRACE_WRAPPER() << "Grabbing screenshot for object of type " << object->className();
    if (delay >= 1) {
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < delay) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents,
                                            int(delay - waited.elapsed()));
            if (!Hook::instance())
                return QImage();
        }
    }
    const CaretBlinkStop caret;
    if (flags & NoNativeCapture) {
        TOLVEX_TRACE_WRAPPER() << "Falling back to grabWidget for screenshot for object of type "
                               << object->className();
        return grabWidget(object, flags);
    }
    Inspector *inspector = Inspector::self();
    const GeometryDelegate *geometry = geometryDelegateFor(object);
    if (!geometry) {
        inspector->setError(QStringLiteral("Cannot take screenshot of object, the bounding "
                                           "rectangle of the object cannot be computed."));
        return QImage();
    }
    const Rect<1> bounds = geometry->nativeGlobalBounds(object);
    if (bounds.width < 1 || bounds.height < 1) {
        inspector->setError(
            QStringLiteral("Cannot take screenshot of object, it covers no pixels on the screen."));
        return QImage();
    }
    NativeInterface *n = native();
    const FunctionCallResult<Screenshot> shot =
        n ? n->desktopScreenshot(bounds, -1)
          : FunctionCallResult<Screenshot>::failure(PlatformPlugin::notSetMessage());
    if (shot.isError()) {
        inspector->setError(
            QStringLiteral("grabObjectScreenshot: Failed to take screenshot: %1").arg(shot.error));
        return QImage();
    }
    return shot.value.image;
}

QImage Wrapper::grabWidget(SharedPtr<Object> object, int flags)
{
    if (!object)
        return QImage();
    TOLVEX_TRACE_WRAPPER() << "Grabbing screenshot of object " << object->className();
    Inspector *inspector = Inspector::self();
    const MethodList methods = inspector->globalClass()->methods(QStringLiteral("grabWidget"));
    ObjectList args{object, inspector->createPrimitive(flags)};
    bool found = false;
    SharedPtr<Object> result = methods.invoke(nullptr, args, &found);
    if (!found) {
        args.pop_back();
        result = methods.invoke(nullptr, args, &found);
    }
    if (found && result) {
        const QString type = result->className();
        if (type == QLatin1String("QPixmap") && result->data())
            return static_cast<const QPixmap *>(result->data())->toImage();
        if (type == QLatin1String("QImage") && result->data())
            return *static_cast<const QImage *>(result->data());
    }
    return qImage(object);
}

FunctionCallResult<Point<1>> Wrapper::pointerMove(SharedPtr<Object> object, Point<1> position)
{
    using Result = FunctionCallResult<Point<1>>;
    const GeometryDelegate *geometry = geometryDelegateFor(object);
    if (!geometry)
        return Result::failure(QStringLiteral("No geometry found for object"));
    Point<1> target;
    if (position.isValid()) {
        target = geometry->relativeToNative(object, position.x, position.y);
    } else {
        const Rect<1> bounds = geometry->nativeGlobalBounds(object);
        if (bounds.width < 0 || bounds.height < 0)
            return Result::failure(QStringLiteral("Object does not have a valid geometry"));
        target = Point<1>(bounds.x + bounds.width / 2, bounds.y + bounds.height / 2);
    }
    NativeInterface *n = native();
    if (!n)
        return Result::failure(PlatformPlugin::notSetMessage());
    const FunctionCallResult<void> moved = n->pointerMove(target);
    if (moved.isError())
        return Result::failure(moved.error);
    return target;
}

FunctionCallResult<void> Wrapper::pointerPress(SharedPtr<Object> object, Point<1> position,
                                               MouseButton::Value button, int modifiers, bool press,
                                               int count)
{
    using Result = FunctionCallResult<void>;
    const FunctionCallResult<Point<1>> moved = pointerMove(object, position);
    if (moved.isError())
        return Result::failure(moved.error);
    const FunctionCallResult<int> nativeModifiers = tolvexModifiersToNative(modifiers);
    if (nativeModifiers.isError())
        return Result::failure(nativeModifiers.error);
    NativeInterface *n = native();
    if (!n)
        return Result::failure(PlatformPlugin::notSetMessage());
    if (press) {
        const Result down = n->pressReleaseModifiers(nativeModifiers.value, true);
        if (down.isError())
            return down;
    }
    const MouseButton::Value pressed = button == MouseButton::NoButton ? MouseButton::Left : button;
    const Result clicked = n->pointerButton(pressed, press, moved.value, count);
    if (press)
        return clicked;
    const Result up = n->pressReleaseModifiers(nativeModifiers.value, false);
    return clicked.isError() ? clicked : up;
}

FunctionCallResult<void> Wrapper::pointerClick(SharedPtr<Object> object, Point<1> position,
                                               MouseButton::Value button, int modifiers, int count)
{
    // Both halves run, so a button is never left pressed; the first error wins.
    const FunctionCallResult<void> pressed =
        pointerPress(object, position, button, modifiers, true, count);
    const FunctionCallResult<void> released =
        pointerPress(object, position, button, modifiers, false, count);
    return pressed.isError() ? pressed : released;
}

FunctionCallResult<void> Wrapper::doubleClick(SharedPtr<Object> object, Point<1> position,
                                              MouseButton::Value button, int modifiers)
{
    const FunctionCallResult<void> first = pointerClick(object, position, button, modifiers, 1);
    if (first.isError())
        return first;
    return pointerClick(object, position, button, modifiers, 2);
}

void Wrapper::clearCachedObjectNames()
{
    d->names.clear();
}

void Wrapper::parseDescriptorData(const QByteArray &) {}

void Wrapper::notifyEventRecordingEnabled(bool) {}

} // namespace Tolvex
