#pragma once

// The plug-in's connection to the X server. This header and the other x*.h
// headers of the X layer include neither Xlib nor Qt: Xlib's macros (None,
// Bool, Status, KeyPress) clash with Qt's headers, so Xlib stays inside the
// X layer's own sources and the Qt side sees plain types.

#include <memory>
#include <string>
#include <utility>

struct _XDisplay; // Xlib's Display

namespace Tolvex {

// An X resource id (Window, Pixmap, Atom, KeySym are all of this width).
using XId = unsigned long;

class XConnection
{
public:
    // Opens a connection of its own; a null or empty name means $DISPLAY.
    // Null with the reason in error when the server cannot be reached.
    static std::unique_ptr<XConnection> open(const char *name, std::string *error,
                                             bool synchronous = false);
    // Takes a connection made by the caller, closing it at the end only when
    // owned. A borrowed connection's events belong to its owner's loop, so
    // this one never reads them.
    XConnection(_XDisplay *display, bool owned, bool synchronous);
    ~XConnection();
    XConnection(const XConnection &) = delete;
    XConnection &operator=(const XConnection &) = delete;

    _XDisplay *display() const { return m_display; }
    int screen() const { return m_screen; }
    XId root() const { return m_root; }
    // The name to reach the same server again, for a connection of another
    // thread.
    std::string displayName() const;

    bool hasXTest() const { return m_hasXTest; }
    bool hasShm() const { return m_hasShm; }
    bool hasRandr() const { return m_hasRandr; }
    bool hasShape() const { return m_hasShape; }

    void flush();
    void sync();

    // Whether the keyboard mapping changed since the last call; a borrowed
    // connection cannot tell and always says so.
    bool takeKeymapChanged();
    // The root window's width and height as they are now.
    std::pair<int, int> rootSize();

    // X errors of this connection so far; the process goes on after them.
    unsigned long errorCount() const;
    std::string lastErrorText() const;

private:
    // Reads the events waiting on an owned connection: changes of the keymap
    // and of the screen's size are all it listens to.
    void processEvents();

    _XDisplay *m_display = nullptr;
    bool m_owned = false;
    int m_screen = 0;
    XId m_root = 0;
    bool m_hasXTest = false;
    bool m_hasShm = false;
    bool m_hasRandr = false;
    bool m_hasShape = false;
    bool m_keymapChanged = true;
    int m_randrEventBase = 0;
};

// Catches the X errors of the requests made while it lives, so that a bad
// request is a failed operation and not the end of the process (Xlib's
// default handler exits).
class XErrorTrap
{
public:
    explicit XErrorTrap(XConnection &connection);
    // Waits for the server's answers and tells whether an error came.
    bool failed();
    // The last error's text, after failed() said true.
    std::string text() const;

private:
    XConnection &m_connection;
    unsigned long m_before;
};

} // namespace Tolvex
