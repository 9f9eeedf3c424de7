#include "delegate.h"

#include "class.h"
#include "delegatefactory.h"
#include "inspector.h"
#include "object.h"

#include <functional>

namespace Tolvex {

Delegate::Delegate(const QString &className, Type type) : m_className(className), m_type(type)
{
    DelegateFactory::self()->addDelegate(this);
}

// Delegates are meant to live as long as the process; one that goes
// earlier at least leaves no dangling entry behind.
Delegate::~Delegate()
{
    DelegateFactory::self()->removeDelegate(this);
}

const Delegate *Delegate::super() const
{
    if (!m_superResolved) {
        m_superResolved = true;
        const Class *c = Inspector::self()->type(m_className);
        if (c && c->super())
            m_superDelegate = DelegateFactory::self()->delegate(c->super(), m_type);
    }
    return m_superDelegate;
}

SharedPtr<Object> ObjectHierarchyDelegate::objectByQualifiedName(SharedPtr<Object>,
                                                                 const ObjectName &) const
{
    return nullptr;
}

ObjectList ObjectHierarchyDelegate::children(SharedPtr<Object> obj) const
{
    ObjectList result;
    const int n = numChildren(obj);
    for (int i = 0; i < n; ++i)
        if (SharedPtr<Object> c = child(obj, i))
            result.push_back(c);
    return result;
}

// The slow generic way: search every top-level tree for the node that holds
// obj as a child. Wrappers that know their parent links override it.
SharedPtr<Object> ObjectHierarchyDelegate::parent(SharedPtr<Object> obj) const
{
    if (!obj)
        return nullptr;
    std::function<SharedPtr<Object>(const SharedPtr<Object> &)> search =
        [&](const SharedPtr<Object> &node) -> SharedPtr<Object> {
        const int n = node->numChildren();
        for (int i = 0; i < n; ++i) {
            SharedPtr<Object> c = node->child(i);
            if (!c)
                continue;
            if (c->sameAs(obj))
                return node;
            if (SharedPtr<Object> found = search(c))
                return found;
        }
        return nullptr;
    };
    for (const SharedPtr<Object> &top : Inspector::self()->objects()) {
        if (!top)
            continue;
        if (top->sameAs(obj))
            return nullptr;
        if (SharedPtr<Object> found = search(top))
            return found;
    }
    return nullptr;
}

QString ConversionDelegate::toString(SharedPtr<Object>) const
{
    return QString();
}
int ConversionDelegate::toInteger(SharedPtr<Object>) const
{
    return 0;
}
long long ConversionDelegate::toInt64(SharedPtr<Object> obj) const
{
    return toInteger(obj);
}
double ConversionDelegate::toDouble(SharedPtr<Object>) const
{
    return 0.0;
}
bool ConversionDelegate::toBoolean(SharedPtr<Object>) const
{
    return false;
}
void ConversionDelegate::fromString(const QString &, SharedPtr<Object>) const {}
void ConversionDelegate::fromInteger(int, SharedPtr<Object>) const {}
void ConversionDelegate::fromInt64(long long, SharedPtr<Object>) const {}
void ConversionDelegate::fromDouble(double, SharedPtr<Object>) const {}
void ConversionDelegate::fromBoolean(bool, SharedPtr<Object>) const {}

Rect<1> GeometryDelegate::nativeGlobalBounds(SharedPtr<Object> obj) const
{
    const Rect<2> r = globalBounds(obj);
    return Rect<1>(r.x, r.y, r.width, r.height);
}

Point<2> GeometryDelegate::globalToRelative(SharedPtr<Object> obj, int x, int y) const
{
    const Rect<2> r = globalBounds(obj);
    if (!r.isValid())
        return Point<2>();
    return Point<2>(x - r.x, y - r.y);
}

Point<2> GeometryDelegate::relativeToGlobal(SharedPtr<Object> obj, int x, int y) const
{
    const Rect<2> r = globalBounds(obj);
    if (!r.isValid())
        return Point<2>();
    return Point<2>(r.x + x, r.y + y);
}

Point<1> GeometryDelegate::relativeToNative(SharedPtr<Object> obj, int x, int y) const
{
    const Point<2> p = relativeToGlobal(obj, x, y);
    return p.isValid() ? Point<1>(p.x, p.y) : Point<1>();
}

bool DumpObjectTreeDelegate::enterDump(SharedPtr<Object>, const DumpFilters &, QString *) const
{
    return false;
}
bool DumpObjectTreeDelegate::leaveDump(QString *) const
{
    return false;
}
bool DumpObjectTreeDelegate::dumpObject(SharedPtr<Object>, bool, UIAbstraction::UIElement **,
                                        const DumpFilters &, QString *) const
{
    return false;
}
bool DumpObjectTreeDelegate::takeScreenshot(SharedPtr<Object>, UIAbstraction::UIElement *) const
{
    return false;
}
bool DumpObjectTreeDelegate::setProperty(const Property *, SharedPtr<Object>,
                                         UIAbstraction::UIElement *, int) const
{
    return false;
}
bool DumpObjectTreeDelegate::children(SharedPtr<Object>, ObjectList *) const
{
    return false;
}
bool DumpObjectTreeDelegate::visibleGlobalBounds(SharedPtr<Object>, Rect<2> *) const
{
    return false;
}
bool DumpObjectTreeDelegate::isTransparent(SharedPtr<Object>) const
{
    return false;
}
bool DumpObjectTreeDelegate::simplifiedType(SharedPtr<Object>, QString *) const
{
    return false;
}

FunctionCallResult<void> WindowInteractionDelegate::setFullscreenWindow(SharedPtr<Object>,
                                                                        bool) const
{
    return {};
}

FunctionCallResult<void> WindowInteractionDelegate::setForegroundWindow(SharedPtr<Object>) const
{
    return {};
}

FunctionCallResult<void> WindowInteractionDelegate::setFocusedWindow(SharedPtr<Object>) const
{
    return {};
}

FunctionCallResult<SharedPtr<Object>> WindowInteractionDelegate::focusedWindow() const
{
    return SharedPtr<Object>();
}

FunctionCallResult<Rect<2>> WindowInteractionDelegate::windowGeometry(SharedPtr<Object>) const
{
    return Rect<2>();
}

SendEventDelegate::SendEventDelegate()
{
    Inspector::self()->addSendEventDelegate(this);
}

SendEventDelegate::~SendEventDelegate()
{
    Inspector::self()->removeSendEventDelegate(this);
}

EventNotifyDelegate::EventNotifyDelegate()
{
    Inspector::self()->setEventNotifyDelegate(this);
}

EventNotifyDelegate::~EventNotifyDelegate()
{
    if (Inspector::self()->eventNotifyDelegate() == this)
        Inspector::self()->setEventNotifyDelegate(nullptr);
}

const GeometryDelegate *geometryDelegateFor(const SharedPtr<Object> &object)
{
    if (!object || !object->type())
        return nullptr;
    return static_cast<const GeometryDelegate *>(
        DelegateFactory::self()->delegate(object->type()->className(), Delegate::Geometry));
}

} // namespace Tolvex
