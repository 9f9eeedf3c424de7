#pragma once

#include "functioncallresult.h"
#include "objectlist.h"
#include "point.h"
#include "rect.h"
#include "shared.h"
#include "tolvexexport.h"

#include <QString>

#include <map>
#include <string>

namespace Tolvex {

class Class;
class Event;
class EventData;
class Object;
class ObjectName;
class Property;
class PropertyDeclaration;

class DumpFilter;
namespace UIAbstraction {
class UIElement;
}

// A per-class policy object of a wrapper. It registers itself with the
// DelegateFactory in its constructor, so wrappers create delegates as
// static objects.
class TOLVEX_EXPORT Delegate
{
public:
    enum Type {
        ObjectHierarchy = 0,
        StaticProperty = 1,
        DynamicEvent = 2,
        Serialize = 3,
        Conversion = 4,
        Comparison = 5,
        Cast = 6,
        Geometry = 7,
        DumpObjectTree = 9,
        WindowInteraction = 10,
    };

    Delegate(const QString &className, Type type);
    virtual ~Delegate();
    Delegate(const Delegate &) = delete;
    Delegate &operator=(const Delegate &) = delete;

    QString className() const { return m_className; }
    Type type() const { return m_type; }
    // The next delegate of the same type further up the class chain, so a
    // subclass's delegate can hand on what it cannot do.
    const Delegate *super() const;

private:
    QString m_className;
    Type m_type;
    mutable bool m_superResolved = false;
    mutable const Delegate *m_superDelegate = nullptr;
};

class TOLVEX_EXPORT ObjectHierarchyDelegate : public Delegate
{
public:
    explicit ObjectHierarchyDelegate(const QString &className)
        : Delegate(className, ObjectHierarchy)
    {}

    // A null obj stands for the root of the toolkit: its children are the
    // top-level objects.
    virtual int numChildren(SharedPtr<Object> obj) const = 0;
    virtual SharedPtr<Object> child(SharedPtr<Object> obj, int index) const = 0;
    virtual SharedPtr<Object> childByName(SharedPtr<Object> obj, const QString &name) const = 0;
    virtual SharedPtr<Object> objectByQualifiedName(SharedPtr<Object> obj,
                                                    const ObjectName &name) const;
    virtual QString name(SharedPtr<Object> obj) const = 0;
    virtual QString qualifiedName(SharedPtr<Object> obj) const = 0;
    virtual ObjectList children(SharedPtr<Object> obj) const;
    virtual SharedPtr<Object> parent(SharedPtr<Object> obj) const;
    virtual int wrapperType(SharedPtr<Object> obj) const = 0;
};

class TOLVEX_EXPORT StaticPropertyDelegate : public Delegate
{
public:
    explicit StaticPropertyDelegate(const QString &className) : Delegate(className, StaticProperty)
    {}
    virtual int numProperties() const = 0;
    virtual const PropertyDeclaration *property(int index) const = 0;
};

class TOLVEX_EXPORT DynamicEventDelegate : public Delegate
{
public:
    explicit DynamicEventDelegate(const QString &className) : Delegate(className, DynamicEvent) {}
    virtual int numEvents(SharedPtr<Object> obj) const = 0;
    virtual const Event *event(SharedPtr<Object> obj, int index) const = 0;
};

class TOLVEX_EXPORT SerializeDelegate : public Delegate
{
public:
    explicit SerializeDelegate(const QString &className) : Delegate(className, Serialize) {}
    virtual void streamObject(QDataStream &stream, SharedPtr<Object> obj) const = 0;
    virtual void objectFromStream(QDataStream &stream, SharedPtr<Object> obj) const = 0;
    virtual QString describe(SharedPtr<Object> obj) const = 0;
};

class TOLVEX_EXPORT ConversionDelegate : public Delegate
{
public:
    enum Capability {
        CanString = 1,
        CanInteger = 2,
        CanDouble = 4,
        CanBoolean = 8,
        CanInt64 = 16,
    };

    explicit ConversionDelegate(const QString &className) : Delegate(className, Conversion) {}
    virtual int capabilities() const = 0;
    virtual QString toString(SharedPtr<Object> obj) const;
    virtual int toInteger(SharedPtr<Object> obj) const;
    virtual long long toInt64(SharedPtr<Object> obj) const;
    virtual double toDouble(SharedPtr<Object> obj) const;
    virtual bool toBoolean(SharedPtr<Object> obj) const;
    virtual void fromString(const QString &value, SharedPtr<Object> obj) const;
    virtual void fromInteger(int value, SharedPtr<Object> obj) const;
    virtual void fromInt64(long long value, SharedPtr<Object> obj) const;
    virtual void fromDouble(double value, SharedPtr<Object> obj) const;
    virtual void fromBoolean(bool value, SharedPtr<Object> obj) const;
};

class TOLVEX_EXPORT CastDelegate : public Delegate
{
public:
    explicit CastDelegate(const QString &className) : Delegate(className, Cast) {}
    virtual bool canCastTo(const Class *target) const = 0;
    virtual bool canCastFrom(const Class *source) const = 0;
    virtual SharedPtr<Object> castTo(SharedPtr<Object> obj, const Class *target) const = 0;
    virtual SharedPtr<Object> castFrom(SharedPtr<Object> obj, const Class *source) const = 0;
};

class TOLVEX_EXPORT ComparisonDelegate : public Delegate
{
public:
    explicit ComparisonDelegate(const QString &className) : Delegate(className, Comparison) {}
    virtual bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const = 0;
    virtual bool sameObjects(SharedPtr<Object> a, SharedPtr<Object> b) const = 0;
};

class TOLVEX_EXPORT GeometryDelegate : public Delegate
{
public:
    explicit GeometryDelegate(const QString &className) : Delegate(className, Geometry) {}
    // Bounds in logical global coordinates.
    virtual Rect<2> globalBounds(SharedPtr<Object> obj) const = 0;
    virtual Rect<1> nativeGlobalBounds(SharedPtr<Object> obj) const;
    virtual Point<2> globalToRelative(SharedPtr<Object> obj, int x, int y) const;
    virtual Point<2> relativeToGlobal(SharedPtr<Object> obj, int x, int y) const;
    virtual Point<1> relativeToNative(SharedPtr<Object> obj, int x, int y) const;
    virtual bool isVisible(SharedPtr<Object> obj) const = 0;
    virtual SharedPtr<Object> window(SharedPtr<Object> obj) const = 0;
};

// The filters of one snapshot, by the name of the wrapper they are for.
using DumpFilters = std::map<std::string, DumpFilter *>;

// A toolkit's say in snapshots of its objects. Every operation answers false
// by default. For the three about the walk itself false stops the dump,
// with the reason in error: a delegate that takes part answers true there.
// For the others false means that the generic way is used.
class TOLVEX_EXPORT DumpObjectTreeDelegate : public Delegate
{
public:
    explicit DumpObjectTreeDelegate(const QString &className) : Delegate(className, DumpObjectTree)
    {}
    virtual bool enterDump(SharedPtr<Object> obj, const DumpFilters &filters, QString *error) const;
    virtual bool leaveDump(QString *error) const;
    // True when the delegate made the element and its subtree itself.
    virtual bool dumpObject(SharedPtr<Object> obj, bool isRoot, UIAbstraction::UIElement **element,
                            const DumpFilters &filters, QString *error) const;
    virtual bool takeScreenshot(SharedPtr<Object> obj, UIAbstraction::UIElement *element) const;
    // type: 0 a concrete property, 1 an identifying one.
    virtual bool setProperty(const Property *property, SharedPtr<Object> obj,
                             UIAbstraction::UIElement *element, int type) const;
    virtual bool children(SharedPtr<Object> obj, ObjectList *children) const;
    virtual bool visibleGlobalBounds(SharedPtr<Object> obj, Rect<2> *bounds) const;
    virtual bool isTransparent(SharedPtr<Object> obj) const;
    virtual bool simplifiedType(SharedPtr<Object> obj, QString *type) const;
};

class TOLVEX_EXPORT WindowInteractionDelegate : public Delegate
{
public:
    explicit WindowInteractionDelegate(const QString &className)
        : Delegate(className, WindowInteraction)
    {}
    // The object is whatever the script handed in; the delegate finds its
    // top-level window.
    virtual FunctionCallResult<void> closeWindow(SharedPtr<Object> obj) const = 0;
    virtual FunctionCallResult<void> maximizeWindow(SharedPtr<Object> obj) const = 0;
    virtual FunctionCallResult<void> minimizeWindow(SharedPtr<Object> obj) const = 0;
    virtual FunctionCallResult<void> moveWindow(SharedPtr<Object> obj, int x, int y) const = 0;
    virtual FunctionCallResult<void> resizeWindow(SharedPtr<Object> obj, int width,
                                                  int height) const = 0;
    virtual FunctionCallResult<void> restoreWindow(SharedPtr<Object> obj) const = 0;
    // The rest do nothing and report no error unless a toolkit can do them.
    virtual FunctionCallResult<void> setFullscreenWindow(SharedPtr<Object> obj,
                                                         bool fullscreen) const;
    virtual FunctionCallResult<void> setForegroundWindow(SharedPtr<Object> obj) const;
    virtual FunctionCallResult<void> setFocusedWindow(SharedPtr<Object> obj) const;
    // A null object: this toolkit has no focused window.
    virtual FunctionCallResult<SharedPtr<Object>> focusedWindow() const;
    virtual FunctionCallResult<Rect<2>> windowGeometry(SharedPtr<Object> obj) const;
};

// Synthesises events; not a Delegate, it registers with the Inspector.
class TOLVEX_EXPORT SendEventDelegate
{
public:
    SendEventDelegate();
    virtual ~SendEventDelegate();
    virtual bool sendEvent(const Event *event, SharedPtr<Object> obj,
                           const ObjectList &args) const = 0;
};

// The one receiver of recorded events; a new one replaces the previous.
class TOLVEX_EXPORT EventNotifyDelegate
{
public:
    EventNotifyDelegate();
    virtual ~EventNotifyDelegate();
    virtual void eventRecorded(const EventData &data) = 0;
};

// The geometry delegate registered for the object's class; null for a null
// object or a class without one. Asked at each use, never cached.
TOLVEX_EXPORT const GeometryDelegate *geometryDelegateFor(const SharedPtr<Object> &object);

} // namespace Tolvex
