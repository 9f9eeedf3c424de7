// The object browser's side of the Hook: listings of objects and their
// components in a compact text form, picking mode, highlights, and the
// pictures of objects and of the desktop.

#include "classregistrar.h"
#include "hook.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "logging.h"
#include "nativeinterface.h"
#include "platformplugin.h"
#include "property.h"
#include "screenrectangle.h"
#include "screenshot.h"
#include "widgethighlighter.h"
#include "wrapper.h"

#include <QBuffer>
#include <QCursor>
#include <QDataStream>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>

namespace Tolvex {

namespace {

// An object that can be opened in the browser: its class has properties, or
// it has children.
bool isExpandable(const SharedPtr<Object> &value)
{
    return value &&
           ((value->type() && value->type()->numProperties() > 0) || value->numChildren() > 0);
}

// One line of the properties view: "<class>#[+]<name>=<value>".
QString componentText(const QString &className, const QString &name, const SharedPtr<Object> &value)
{
    const bool expandable = isExpandable(value);
    QString text = value ? value->toString() : QString();
    if (text.isNull()) {
        if (!value || (!expandable && value->isNull()))
            text = QStringLiteral("<null>");
        else if (!expandable)
            text = QStringLiteral("<complex value>");
        else
            text = QLatin1String("");
    }
    return className + QLatin1Char('#') + (expandable ? QStringLiteral("+") : QString()) + name +
           QLatin1Char('=') + text;
}

QString classNameOf(const Class *c)
{
    return c ? c->className() : QString();
}

} // namespace

void Hook::startSpying(int spyId)
{
    Inspector::self()->setSpyingEnabled(true);
    d->spyId = spyId;
    d->inspecting = true;
    Q_EMIT inspectingChanged(true);
}

void Hook::stopSpying(int spyId)
{
    Inspector::self()->setSpyingEnabled(false);
    // A later spy gets every class again.
    d->spyClassCount = 0;
    d->spyId = spyId;
    d->inspecting = false;
    Q_EMIT inspectingChanged(false);
}

void Hook::setInspecting(bool on)
{
    d->inspecting = on;
    Q_EMIT inspectingChanged(on);
}

void Hook::blockGUI(bool blocked)
{
    d->guiBlocked = blocked;
    Q_EMIT guiBlockedChanged(blocked);
}

void Hook::spyGUI(bool on)
{
    // The cursor is overridden once for every time picking is turned on, so
    // that each restore matches one override.
    const bool changed = on != d->spyGuiEnabled;
    d->spyGuiEnabled = on;
    if (changed && qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        if (on)
            QGuiApplication::setOverrideCursor(QCursor(Qt::CrossCursor));
        else
            QGuiApplication::restoreOverrideCursor();
    }
    for (Wrapper *wrapper : wrappers())
        wrapper->spyModeChanged(on);
}

bool Hook::isSpyGuiEnabled() const
{
    return d->spyGuiEnabled;
}

void Hook::objectPicked(SharedPtr<Object> object, const QString &realName)
{
    const ArgumentList args{d->objects.objectToVariant(object), realName};
    if (d->spyId >= 0)
        send(unsigned(d->spyId), QStringLiteral("objectPicked"), args);
    else
        send(QStringLiteral("objectPicked"), args);
}

bool Hook::spyObjects(const QString &name, QList<SpyObject> *rows)
{
    if (d->exitNotified)
        return false;
    Inspector *inspector = Inspector::self();
    if (!name.isEmpty()) {
        const SharedPtr<Object> object = inspector->findObject(name);
        if (!object)
            return false;
        Wrapper *wrapper = wrapperForObject(object);
        return wrapper && wrapper->spyObjectChildren(object, rows);
    }
    for (const SharedPtr<Object> &object : inspector->objects()) {
        if (!object)
            continue;
        Wrapper *wrapper = wrapperForObject(object);
        rows->append(SpyObject{object->name(), object->className(), true,
                               wrapper && wrapper->supportsHighlight(object)});
    }
    return true;
}

bool Hook::objectHasComponents(int id)
{
    const SharedPtr<Object> object = d->objects.objectById(id);
    if (!object) {
        logLine("Hook::handleCall: F_ObjectHasComponents: Invalid object");
        return false;
    }
    return isExpandable(object);
}

QStringList Hook::fetchObjectComponents(int id)
{
    const SharedPtr<Object> object = d->objects.objectById(id);
    if (!object) {
        logLine("Hook::handleCall: F_FetchObjectComponents: Invalid object");
        return {};
    }
    QStringList components;
    const Class *type = object->type();
    if (!type || type->numProperties() == 0) {
        const ObjectList children = object->children();
        for (size_t i = 0; i < children.size(); ++i)
            components.append(componentText(children[i] ? children[i]->className() : QString(),
                                            QString::number(i), children[i]));
        return components;
    }
    for (int i = 0; i < type->numProperties(); ++i) {
        const Property *property = type->property(i);
        if (!property)
            continue;
        const SharedPtr<Object> value = property->get(object);
        components.append(
            componentText(value ? value->className() : classNameOf(property->propertyClass()),
                          property->name(), value));
    }
    return components;
}

namespace {

// Fetches the values of the entries: runs of entries that belong to one
// wrapper go to it in one batch; the rest are read one by one.
void fetchValues(Hook &hook, QList<ObjectPropertyValue> &entries)
{
    auto it = entries.begin();
    while (it != entries.end()) {
        Wrapper *wrapper = hook.wrapperForObject(it->object);
        auto end = it + 1;
        while (end != entries.end() && hook.wrapperForObject(end->object) == wrapper)
            ++end;
        if (wrapper) {
            wrapper->propertyValues(it, end);
        } else {
            for (auto e = it; e != end; ++e)
                e->result = e->property ? e->property->get(e->object) : nullptr;
        }
        it = end;
    }
}

// A value as the properties view shows it: its own text, or its properties
// in braces, two levels deep at most.
QString valueText(Hook &hook, const SharedPtr<Object> &value, int depth)
{
    if (!value)
        return QStringLiteral("<null>");
    const QString own = value->toString();
    if (!own.isNull())
        return own;
    QList<ObjectPropertyValue> entries;
    if (const Class *type = value->type()) {
        for (int i = 0; i < type->numProperties(); ++i) {
            const Property *property = type->property(i);
            if (property && !property->isStatic())
                entries.append(ObjectPropertyValue{value, property, nullptr});
        }
    }
    if (entries.isEmpty())
        return depth == 0 ? QStringLiteral("-") : QString();
    if (depth == 2)
        return QStringLiteral("...");
    fetchValues(hook, entries);
    QStringList parts;
    for (const ObjectPropertyValue &entry : std::as_const(entries))
        parts.append(entry.property->name() + QStringLiteral(" = ") +
                     valueText(hook, entry.result, depth + 1));
    return QStringLiteral("{ %1 }").arg(parts.join(QStringLiteral(", ")));
}

} // namespace

QStringList Hook::fetchPropertyValuesAsString(const QStringList &pairs)
{
    QList<ObjectPropertyValue> entries;
    for (qsizetype i = 0; i + 1 < pairs.size(); i += 2) {
        const SharedPtr<Object> object = d->objects.objectById(pairs.at(i).toInt());
        if (!object) {
            logLine("Hook::handleCall: F_FetchPropertyValuesAsString: Invalid object");
            continue;
        }
        if (object->isNull()) {
            logLine("Hook::handleCall: F_FetchPropertyValuesAsString: Null object");
            continue;
        }
        bool ok = false;
        const int index = pairs.at(i + 1).toInt(&ok);
        const Property *property =
            ok && object->type() && index >= 0 && index < object->type()->numProperties()
                ? object->type()->property(index)
                : nullptr;
        if (!property) {
            logLine("Hook::handleCall: F_FetchPropertyValuesAsString: Invalid property");
            continue;
        }
        entries.append(ObjectPropertyValue{object, property, nullptr});
    }
    fetchValues(*this, entries);
    QStringList texts;
    for (const ObjectPropertyValue &entry : std::as_const(entries))
        texts.append(valueText(*this, entry.result, 0));
    return texts;
}

bool Hook::supportsHighlight(int id)
{
    const SharedPtr<Object> object = d->objects.objectById(id);
    Wrapper *wrapper = object ? wrapperForObject(object) : nullptr;
    return wrapper && wrapper->supportsHighlight(object);
}

QString Hook::highlightObject(const QString &name, int timeoutMs)
{
    const SharedPtr<Object> object = Inspector::self()->findObject(name);
    if (!object)
        return Inspector::self()->lastError();
    return highlightObject(object, timeoutMs);
}

QString Hook::highlightObject(SharedPtr<Object> object, int timeoutMs)
{
    if (!object)
        return QStringLiteral("Cannot highlight an invalid object");
    if (Wrapper *wrapper = wrapperForObject(object)) {
        const QString error = wrapper->highlightObject(object);
        if (!error.isEmpty())
            return error;
    } else {
        ScreenRectangle rectangle;
        if (!ScreenRectangle_class::unwrapLocal(object, &rectangle))
            return QStringLiteral("No wrapper responsible for highlighting object");
        if (rectangle.width < 0 || rectangle.height < 0)
            return QStringLiteral("Cannot highlight an ivalid rectangle");
        if (WidgetHighlighter *highlighter = WidgetHighlighter::self()) {
            highlighter->setToolTipMode(0);
            highlighter->setToolTip(QString());
            highlighter->setGeometry(
                Rect<1>(rectangle.x, rectangle.y, rectangle.width, rectangle.height));
            highlighter->show();
        }
    }
    if (timeoutMs > 0)
        d->highlightTimer.start(timeoutMs);
    return QString();
}

void Hook::clearHighlight()
{
    for (Wrapper *wrapper : wrappers())
        wrapper->highlightObject(nullptr);
}

void Hook::highlighterTimeout()
{
    clearHighlight();
    if (WidgetHighlighter *highlighter = WidgetHighlighter::self())
        highlighter->hide();
}

QVariant Hook::grabObjectScreenshot(int id, int flags, int delay)
{
    const SharedPtr<Object> object = d->objects.objectById(id);
    if (!object) {
        logLine("Hook::grabObjectScreenshot: invalid object id ", id);
        return QVariant();
    }
    if (Wrapper *wrapper = wrapperForObject(object)) {
        Screenshot shot;
        shot.image = wrapper->grabObjectScreenshot(object, flags, delay);
        return shot.toVariant();
    }
    ScreenRectangle rectangle;
    if (!ScreenRectangle_class::unwrapLocal(object, &rectangle) || rectangle.width < 0 ||
        rectangle.height < 0) {
        Inspector::self()->setError(QStringLiteral("Invalid ScreenRectangle object"));
        return QVariant();
    }
    NativeInterface *native = nativeInterface();
    const FunctionCallResult<Screenshot> shot =
        native ? native->desktopScreenshot(
                     Rect<1>(rectangle.x, rectangle.y, rectangle.width, rectangle.height), -1)
               : FunctionCallResult<Screenshot>::failure(PlatformPlugin::notSetMessage());
    if (shot.isError()) {
        Inspector::self()->setError(shot.error);
        return QVariant();
    }
    return shot.value.toVariant();
}

QVariant Hook::desktopScreenshot()
{
    if (NativeInterface *native = nativeInterface()) {
        TOLVEX_TRACE_HOOK() << "Fetching desktop screenshot from platform plugin";
        const FunctionCallResult<Screenshot> shot = native->desktopScreenshot(Rect<1>(), -1);
        return shot.isError() ? QVariant() : shot.value.toVariant();
    }
    TOLVEX_TRACE_HOOK() << "Fetching desktop screenshot from wrapper";
    for (Wrapper *wrapper : wrappers()) {
        const QVariant image = wrapper->desktopImage();
        if (image.isValid())
            return image;
    }
    return QVariant();
}

QVariant Hook::getPixmapAsImage(int id)
{
    const SharedPtr<Object> object = d->objects.objectById(id);
    if (!object) {
        logLine("Hook::getPixmapAsImage: invalid object id ", id);
        return QVariant();
    }
    QImage image;
    const QString type = object->className();
    if (type == QLatin1String("QPixmap") && object->data())
        image = static_cast<const QPixmap *>(object->data())->toImage();
    else if (type == QLatin1String("QImage") && object->data())
        image = *static_cast<const QImage *>(object->data());
    if (image.isNull())
        return QVariant();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace Tolvex
