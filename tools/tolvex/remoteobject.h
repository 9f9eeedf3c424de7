#pragma once

// One object of an application under test as a script holds it: its id in
// the agent and its class, and what can be done with it by name.

#include "argumentlist.h"
#include "functioncallresult.h"

#include <QImage>
#include <QList>
#include <QMetaType>
#include <QPoint>
#include <QString>
#include <QVariant>

#include <optional>

namespace Tolvex {

class RemoteApplication;

// Where and how a click goes: a point of the object from its top left
// corner in native pixels (its centre when none is given), the button (0:
// the primary one) and the modifier word held, both as the agent takes them.
struct PointerAction
{
    std::optional<QPoint> at;
    int button = 0;
    int modifiers = 0;
};

class RemoteObject
{
public:
    RemoteObject() = default;
    RemoteObject(RemoteApplication *application, int id, int classId)
        : m_application(application), m_id(id), m_classId(classId)
    {}

    // A class itself, for its static members; the global class holds the
    // application's global functions. Its id is the class id negated, as
    // the agent takes it.
    static RemoteObject ofClass(RemoteApplication *application, int classId)
    {
        return RemoteObject(application, -classId, classId);
    }

    bool isNull() const { return !m_application || m_id == 0; }
    int id() const { return m_id; }
    int classId() const { return m_classId; }
    QString className() const;

    // A property's value: numbers, booleans and strings as themselves, any
    // other object as a RemoteObject.
    FunctionCallResult<QVariant> property(const QString &name) const;
    FunctionCallResult<void> setProperty(const QString &name, const QVariant &value) const;
    // A method by name and argument count, with the arguments converted to
    // the types it declares; the result as property() gives values.
    FunctionCallResult<QVariant> call(const QString &method,
                                      const QVariantList &arguments = {}) const;

    FunctionCallResult<QList<RemoteObject>> children() const;
    FunctionCallResult<RemoteObject> parent() const;
    FunctionCallResult<QString> realName() const;
    // An item of an item view by its text, or by row and column, once it is
    // ready (for a click, say).
    FunctionCallResult<RemoteObject> item(const QString &text) const;
    FunctionCallResult<RemoteObject> item(int row, int column) const;

    // Native input at the object's centre, through the agent.
    FunctionCallResult<void> click() const;
    // At a point of the object, from its top left corner, in native pixels:
    // for a wide check box whose box is at its left, say.
    FunctionCallResult<void> click(QPoint at) const;
    FunctionCallResult<void> click(const PointerAction &how) const;
    FunctionCallResult<void> doubleClick(const PointerAction &how = {}) const;
    // Clicks the object for the keyboard, then types the text character by
    // character.
    FunctionCallResult<void> type(const QString &text) const;
    // Keys as the key notation writes them: "<Return>", "<Ctrl+A>", "x".
    FunctionCallResult<void> key(const QString &keys) const;
    // Where the object is on the screen, in screen pixels.
    FunctionCallResult<QRect> screenBounds() const;
    FunctionCallResult<QImage> screenshot() const;

private:
    FunctionCallResult<void> press(bool down, const PointerAction &how) const;
    FunctionCallResult<void> pressAndRelease(const PointerAction &how) const;

    RemoteApplication *m_application = nullptr;
    int m_id = 0;
    int m_classId = -1;
};

} // namespace Tolvex

Q_DECLARE_METATYPE(Tolvex::RemoteObject)
