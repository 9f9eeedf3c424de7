#include "xkeyboard.h"

#include "xkeytables.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>

namespace Tolvex {

namespace {

// The columns worth using, the easiest first.
constexpr int Columns[] = {0, 1, 4, 5};

} // namespace

XKeyboard::XKeyboard(XConnection &connection, KeyDelivery *delivery)
    : m_connection(connection), m_delivery(delivery)
{
    XDisplayKeycodes(connection.display(), &m_minKeycode, &m_maxKeycode);
}

XKeyboard::~XKeyboard()
{
    restoreSpares();
}

XId &XKeyboard::symAt(int keycode, int column)
{
    return m_map[std::size_t((keycode - m_minKeycode) * m_width + column)];
}

XId XKeyboard::keysymAt(int keycode, int column)
{
    refresh();
    if (keycode < m_minKeycode || keycode > m_maxKeycode || column < 0 || column >= m_width)
        return 0;
    return symAt(keycode, column);
}

void XKeyboard::refresh()
{
    if (!m_connection.takeKeymapChanged() && m_width > 0)
        return;
    int width = 0;
    const int count = m_maxKeycode - m_minKeycode + 1;
    KeySym *syms =
        XGetKeyboardMapping(m_connection.display(), KeyCode(m_minKeycode), count, &width);
    if (!syms)
        return;
    m_width = width;
    m_map.assign(syms, syms + std::size_t(count * width));
    XFree(syms);

    // A binding that someone else has changed is theirs now.
    for (auto it = m_bound.begin(); it != m_bound.end();) {
        if (symAt(it->first, 0) != it->second.keysym)
            it = m_bound.erase(it);
        else
            ++it;
    }
    m_spare.clear();
    for (int keycode = m_minKeycode; keycode <= m_maxKeycode; ++keycode) {
        bool empty = true;
        for (int column = 0; column < m_width && empty; ++column)
            empty = symAt(keycode, column) == NoSymbol;
        if (empty || isBound(keycode))
            m_spare.push_back(keycode);
    }
    rebuildIndex();
}

void XKeyboard::rebuildIndex()
{
    m_byKeysym.clear();
    m_byCharacter.clear();
    // The third level needs a key that reaches it.
    bool level3 = false;
    for (int keycode = m_minKeycode; keycode <= m_maxKeycode && !level3; ++keycode)
        level3 = symAt(keycode, 0) == XK_ISO_Level3_Shift;
    for (int column : Columns) {
        if (column >= m_width || (column >= 4 && !level3))
            continue;
        for (int keycode = m_minKeycode; keycode <= m_maxKeycode; ++keycode) {
            const XId sym = symAt(keycode, column);
            // A bound keycode is found through its binding, which counts its uses.
            if (sym == NoSymbol || isBound(keycode))
                continue;
            const KeyLocation location{keycode, column};
            m_byKeysym.emplace(sym, location);
            if (const char32_t character = characterForKeysym(sym))
                m_byCharacter.emplace(character, location);
        }
    }
}

KeyLocation XKeyboard::locateKeysym(XId keysym)
{
    refresh();
    const auto it = m_byKeysym.find(keysym);
    return it == m_byKeysym.end() ? KeyLocation() : it->second;
}

KeyLocation XKeyboard::locateCharacter(char32_t character)
{
    refresh();
    const auto it = m_byCharacter.find(character);
    return it == m_byCharacter.end() ? KeyLocation() : it->second;
}

void XKeyboard::setMapping(int keycode, XId keysym)
{
    std::vector<KeySym> row(std::size_t(m_width), NoSymbol);
    // Both levels, so that a held Shift changes nothing.
    if (keysym != NoSymbol) {
        row[0] = keysym;
        if (m_width > 1)
            row[1] = keysym;
    }
    XChangeKeyboardMapping(m_connection.display(), keycode, m_width, row.data(), 1);
    for (int column = 0; column < m_width; ++column)
        symAt(keycode, column) = row[std::size_t(column)];
    rebuildIndex();
}

int XKeyboard::bindSpare(XId keysym)
{
    refresh();
    for (auto &[keycode, binding] : m_bound) {
        if (binding.keysym == keysym) {
            binding.lastUse = ++m_useCounter;
            return keycode;
        }
    }
    int keycode = 0;
    for (int spare : m_spare) {
        if (!isBound(spare)) {
            keycode = spare;
            break;
        }
    }
    if (!keycode) {
        if (m_bound.empty())
            return 0;
        const auto oldest =
            std::min_element(m_bound.begin(), m_bound.end(), [](const auto &a, const auto &b) {
                return a.second.lastUse < b.second.lastUse;
            });
        keycode = oldest->first;
        m_delivery->waitUntilTaken(keycode);
    }
    m_bound[keycode] = Binding{keysym, ++m_useCounter};
    setMapping(keycode, keysym);
    return keycode;
}

void XKeyboard::restoreSpares()
{
    if (m_bound.empty())
        return;
    refresh();
    for (const auto &[keycode, binding] : m_bound) {
        m_delivery->waitUntilTaken(keycode);
        setMapping(keycode, NoSymbol);
    }
    m_bound.clear();
    m_connection.flush();
}

bool XKeyboard::sendKey(int keycode, bool press)
{
    if (!m_connection.hasXTest() || keycode <= 0)
        return false;
    if (!XTestFakeKeyEvent(m_connection.display(), unsigned(keycode), press ? True : False,
                           CurrentTime))
        return false;
    noteSent(keycode);
    return true;
}

void XKeyboard::noteSent(int keycode)
{
    if (isBound(keycode))
        m_delivery->sent(keycode);
}

bool XKeyboard::isAnyDown(std::initializer_list<XId> keysyms)
{
    refresh();
    char keys[32] = {};
    XQueryKeymap(m_connection.display(), keys);
    for (int keycode = m_minKeycode; keycode <= m_maxKeycode; ++keycode) {
        if (!(keys[keycode / 8] & (1 << (keycode % 8))))
            continue;
        for (int column = 0; column < m_width; ++column)
            if (std::find(keysyms.begin(), keysyms.end(), symAt(keycode, column)) != keysyms.end())
                return true;
    }
    return false;
}

} // namespace Tolvex
