#pragma once

// Small recorded pieces of user input that run against any NativeInterface:
// a click is a move, a press and a release; a typed text is a press and a
// release for each key. Wrappers compose lists of them and run them as a
// batch.

#include "functioncallresult.h"
#include "mousebutton.h"
#include "point.h"
#include "shared.h"
#include "tolvexexport.h"

#include <QChar>
#include <QPoint>
#include <QString>

#include <list>

namespace Tolvex {

class NativeInterface;

// The virtual operations keep their order.
class TOLVEX_EXPORT Command : public Shared
{
public:
    ~Command() override;
    // Runs against the native interface of the current platform plug-in;
    // the result is dropped.
    virtual void execute();
    virtual FunctionCallResult<void> executeWith(NativeInterface *native) = 0;
};

// Commands in order, shared by copies. Every command runs, also after an
// error; the first error is the result.
class TOLVEX_EXPORT CommandQueue
{
public:
    // Takes a reference to the command.
    void add(Command *command);
    FunctionCallResult<void> executeWith(NativeInterface *native) const;
    const std::list<SharedPtr<Command>> &commands() const { return m_commands; }
    bool isEmpty() const { return m_commands.empty(); }
    int size() const { return int(m_commands.size()); }

private:
    std::list<SharedPtr<Command>> m_commands;
};

// sendKeys(key, true): a character, or a special key's name in brackets.
class TOLVEX_EXPORT PressKey : public Command
{
public:
    explicit PressKey(const QString &key) : m_key(key) {}
    FunctionCallResult<void> executeWith(NativeInterface *native) override;
    QString key() const { return m_key; }

private:
    QString m_key;
};

class TOLVEX_EXPORT ReleaseKey : public Command
{
public:
    explicit ReleaseKey(const QString &key) : m_key(key) {}
    FunctionCallResult<void> executeWith(NativeInterface *native) override;
    QString key() const { return m_key; }

private:
    QString m_key;
};

class TOLVEX_EXPORT KeyboardType : public Command
{
public:
    KeyboardType(const QChar &character, int modifiers)
        : m_character(character), m_modifiers(modifiers)
    {}
    FunctionCallResult<void> executeWith(NativeInterface *native) override;

private:
    QChar m_character;
    int m_modifiers;
};

class TOLVEX_EXPORT MouseButtonPress : public Command
{
public:
    explicit MouseButtonPress(MouseButton::Value button) : m_button(button) {}
    FunctionCallResult<void> executeWith(NativeInterface *native) override;

private:
    MouseButton::Value m_button;
};

class TOLVEX_EXPORT MouseButtonRelease : public Command
{
public:
    explicit MouseButtonRelease(MouseButton::Value button) : m_button(button) {}
    FunctionCallResult<void> executeWith(NativeInterface *native) override;

private:
    MouseButton::Value m_button;
};

class TOLVEX_EXPORT MouseMoveTo : public Command
{
public:
    explicit MouseMoveTo(const Point<1> &point) : m_point(point) {}
    explicit MouseMoveTo(const QPoint &point) : m_point(point.x(), point.y()) {}
    FunctionCallResult<void> executeWith(NativeInterface *native) override;
    Point<1> point() const { return m_point; }

private:
    Point<1> m_point;
};

// A move to (x, y), a press and a release.
class TOLVEX_EXPORT MouseClick : public Command
{
public:
    MouseClick(int x, int y, MouseButton::Value button);
    FunctionCallResult<void> executeWith(NativeInterface *native) override;
    const CommandQueue &queue() const { return m_queue; }

private:
    CommandQueue m_queue;
};

// A press and a release for each key of the text. With parse set, a text in
// angle brackets is one combination: "<Ctrl+Shift+A>" presses Ctrl, Shift
// and "a" and releases them in the reverse order.
class TOLVEX_EXPORT TypeText : public Command
{
public:
    TypeText(const QString &text, bool parse);
    FunctionCallResult<void> executeWith(NativeInterface *native) override;
    const CommandQueue &queue() const { return m_queue; }

private:
    CommandQueue m_queue;
};

// Runs the commands against the current plug-in's interface, or the given
// one, each wrapped in a suppressed flush.
TOLVEX_EXPORT FunctionCallResult<void>
executeCommands(const std::list<SharedPtr<Command>> &commands);
TOLVEX_EXPORT FunctionCallResult<void>
executeCommands(const std::list<SharedPtr<Command>> &commands, NativeInterface *native);

} // namespace Tolvex
