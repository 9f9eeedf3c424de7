#pragma once

#include "xconnection.h"

#include <cstdint>
#include <initializer_list>
#include <map>
#include <unordered_map>
#include <vector>

namespace Tolvex {

// Where a keysym sits: the keycode and the column of the core keymap. The
// columns used are 0 (plain), 1 (Shift), 4 (the third level, AltGr) and 5
// (Shift and AltGr); the second group needs a group switch and is not used.
struct KeyLocation
{
    int keycode = 0; // 0: not in the keymap
    int column = 0;

    bool isValid() const { return keycode != 0; }
    bool needsShift() const { return column == 1 || column == 5; }
    bool needsLevel3() const { return column == 4 || column == 5; }
};

// What the keyboard needs to know of the applications that receive the keys:
// a keycode that is bound for the moment may only change its meaning once
// the application got the key events sent on it, since X clients translate
// a key event with the keymap they hold when they read it.
class KeyDelivery
{
public:
    virtual ~KeyDelivery() = default;
    // A press or a release went out on a keycode that is bound for the moment.
    virtual void sent(int keycode) = 0;
    // Returns once the events sent on the keycode have been taken.
    virtual void waitUntilTaken(int keycode) = 0;
};

// The keyboard as the X server maps it, with XTest to press its keys.
// Characters that no key types are bound to spare keycodes (those without
// any keysym) for as long as they are used; the least recently used
// binding gives way when all spare keycodes are taken, and restoreSpares()
// gives the keymap back as it was.
class XKeyboard
{
public:
    XKeyboard(XConnection &connection, KeyDelivery *delivery);
    ~XKeyboard();
    XKeyboard(const XKeyboard &) = delete;
    XKeyboard &operator=(const XKeyboard &) = delete;

    // The easiest place of exactly this keysym.
    KeyLocation locateKeysym(XId keysym);
    // The easiest place of any keysym that types the character (EuroSign as
    // well as the Unicode keysym of the euro).
    KeyLocation locateCharacter(char32_t character);
    // The keysym at a place, 0 for none.
    XId keysymAt(int keycode, int column);
    // The keycode of a modifier or another key reached without levels.
    int keycodeOf(XId keysym) { return locateKeysym(keysym).keycode; }

    // A spare keycode that types the keysym, bound now if need be; 0 when the
    // keymap has no spare keycode.
    int bindSpare(XId keysym);
    bool isBound(int keycode) const { return m_bound.count(keycode) != 0; }
    bool hasBindings() const { return !m_bound.empty(); }
    // Gives every spare keycode back its empty mapping, once the keys sent
    // on it have been taken.
    void restoreSpares();

    // Presses or releases a key through XTest; false if that failed.
    bool sendKey(int keycode, bool press);
    // A key event on the keycode went out another way.
    void noteSent(int keycode);
    // Whether a key with any of the keysyms is down now.
    bool isAnyDown(std::initializer_list<XId> keysyms);

private:
    struct Binding
    {
        XId keysym = 0;
        std::uint64_t lastUse = 0;
    };

    void refresh();
    void rebuildIndex();
    void setMapping(int keycode, XId keysym);
    XId &symAt(int keycode, int column);

    XConnection &m_connection;
    KeyDelivery *m_delivery;
    int m_minKeycode = 8;
    int m_maxKeycode = 255;
    int m_width = 0; // keysyms per keycode
    std::vector<XId> m_map;
    std::unordered_map<XId, KeyLocation> m_byKeysym;
    std::unordered_map<char32_t, KeyLocation> m_byCharacter;
    std::vector<int> m_spare;
    std::map<int, Binding> m_bound;
    std::uint64_t m_useCounter = 0;
};

} // namespace Tolvex
