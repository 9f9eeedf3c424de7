#pragma once

#include "functioncallresult.h"
#include "mousebutton.h"
#include "object.h"
#include "point.h"
#include "propertyvalue.h"
#include "tolvexexport.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

namespace Tolvex {

class Property;
struct WrapperData;

// One row of the object browser.
struct SpyObject
{
    QString name;
    QString className;
    // Listed rows are always shown.
    bool shown = true;
    bool highlightable = false;
};

// One property read of a batch: the Wrapper fills in the result.
struct ObjectPropertyValue
{
    SharedPtr<Object> object;
    const Property *property = nullptr;
    SharedPtr<Object> result;
};

// The toolkit side of the agent, one per GUI toolkit in the process. Toolkit
// libraries derive from it and hand an instance to Hook::connectAndCreateHook
// or Hook::addWrapper. The base gives every operation but the toolkit's own a
// default, and keeps the cache that lets a recorder reuse the names the user
// already has in the object map.
//
// The virtual operations keep their order: wrappers built separately from
// this library depend on it.
class TOLVEX_EXPORT Wrapper : public QObject
{
    Q_OBJECT
public:
    // The text of an item that exists but has no wrapper object of its own.
    static QString notWrappedItemText() { return QStringLiteral("<not-wrapped-item>"); }
    // What a "not ready" without a reason of its own reads.
    static QString unknownNotReadyText()
    {
        return QStringLiteral("Object is not ready for an unknown reason");
    }

    ~Wrapper() override;

    // Sent to the runner in "requestDescriptorData" during hook-up.
    virtual QString wrapperName() const = 0;
    // Whether this wrapper handles the object; the Hook asks its wrappers in
    // order and the first that says yes gets it.
    virtual bool ownsObject(SharedPtr<Object> object) const = 0;

    // Readiness. An empty error text means ready.
    virtual FunctionCallResult<void> checkObjectReady(SharedPtr<Object> object);
    virtual FunctionCallResult<SharedPtr<Object>> getReadyObjectItem(SharedPtr<Object> object,
                                                                     int row, int column);
    virtual FunctionCallResult<SharedPtr<Object>> getReadyObjectItem(SharedPtr<Object> object,
                                                                     const QString &text);
    virtual bool isObjectReady(SharedPtr<Object> object) = 0;
    virtual bool isObjectItemReady(SharedPtr<Object> object, int row, int column);
    virtual bool isObjectItemReady(SharedPtr<Object> object, const QString &text);
    // A ready item, or null. The defaults have no items of their own and
    // answer a string object reading notWrappedItemText().
    virtual SharedPtr<Object> getObjectItemIfReady(SharedPtr<Object> object, int row, int column);
    virtual SharedPtr<Object> getObjectItemIfReady(SharedPtr<Object> object, const QString &text);

    // Reads each entry's property of its object into its result.
    virtual void propertyValues(QList<ObjectPropertyValue>::iterator begin,
                                QList<ObjectPropertyValue>::iterator end);

    // The object's children as rows of the object browser; false when the
    // object has none to show.
    virtual bool spyObjectChildren(SharedPtr<Object> object, QList<SpyObject> *rows);
    // The spy's picking mode went on or off.
    virtual void spyModeChanged(bool on) = 0;

    // The object map's name for this object, so that a recorder reuses it
    // instead of a slightly different new one; null when none can be reused.
    // Answers are cached until the object map changes.
    virtual QString getExistingRealName(SharedPtr<Object> object, const QString &realName);
    // The lookup getExistingRealName tries candidates with.
    virtual SharedPtr<Object> findObject(const QString &name);
    // A cheap first test of whether an object map entry with these properties
    // may name the object whose real name has the wanted properties; only
    // entries that pass are looked up. The default lets every entry through.
    virtual bool possibleNameMatch(const QMap<QString, PropertyValue> &entry,
                                   const QMap<QString, PropertyValue> &wanted) const;

    // Called by the Hook when the recorder stops.
    virtual void recordingStopped() = 0;
    // Asked to end the application; the default leaves the event loop with
    // the code, so the application shuts down the way it normally would.
    virtual void exitAUT(int code);

    // The pixels of an object the toolkit can draw by itself; null by default.
    virtual QImage qImage(SharedPtr<Object> object);
    // The whole desktop in the screenshot wire form, or an invalid value.
    virtual QVariant desktopImage();
    // Outlines the object on the screen; an error text, empty on success.
    virtual QString highlightObject(SharedPtr<Object> object);
    // Whether the object has a place on the screen to outline: its class has
    // a geometry delegate and the object is visible.
    virtual bool supportsHighlight(SharedPtr<Object> object);
    // The object's pixels; flags 2 forbids capturing them from the screen.
    virtual QImage grabObjectScreenshot(SharedPtr<Object> object, int flags, int delay);

    // Pointer input on an object. Without a position the object's centre is
    // used; a position is relative to the object. The answer of pointerMove
    // is the point on the screen the pointer went to.
    virtual FunctionCallResult<Point<1>> pointerMove(SharedPtr<Object> object, Point<1> position);
    virtual FunctionCallResult<void> pointerPress(SharedPtr<Object> object, Point<1> position,
                                                  MouseButton::Value button, int modifiers,
                                                  bool press, int count);
    virtual FunctionCallResult<void> pointerClick(SharedPtr<Object> object, Point<1> position,
                                                  MouseButton::Value button, int modifiers,
                                                  int count);
    virtual FunctionCallResult<void> doubleClick(SharedPtr<Object> object, Point<1> position,
                                                 MouseButton::Value button, int modifiers);

    // Forgets every reused name; the object map they came from has changed.
    void clearCachedObjectNames();
    // The toolkit's own picture of the object: the global method
    // "grabWidget" with the flags, or with the object alone, else qImage.
    QImage grabWidget(SharedPtr<Object> object, int flags);

public Q_SLOTS:
    // The descriptor data the runner answered "requestDescriptorData" with.
    virtual void parseDescriptorData(const QByteArray &data);
    virtual void notifyEventRecordingEnabled(bool on);

protected:
    explicit Wrapper(QObject *parent = nullptr);

private:
    std::unique_ptr<WrapperData> d;
};

} // namespace Tolvex
