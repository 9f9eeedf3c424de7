#include "keysequences.h"

#include "nativeinterface.h"
#include "platformplugin.h"

#include <array>
#include <utility>

namespace Tolvex {

namespace {

struct SpecialKey
{
    const char *name;
    int virtualKey;
};

// Searched from the first row; repeats in value are deliberate.
constexpr std::array<SpecialKey, 67> SpecialKeys{{
    {"Shift", 0x10},
    {"Ctrl", 0x11},
    {"Space", 0x20},
    {"Alt", 0x12},
    {"Return", 0x0D},
    {"Escape", 0x1B},
    {"Backspace", 0x08},
    {"Tab", 0x09},
    {"Pause", 0x13},
    {"PageUp", 0x21},
    {"PageDown", 0x22},
    {"Home", 0x24},
    {"End", 0x23},
    {"Left", 0x25},
    {"Right", 0x27},
    {"Up", 0x26},
    {"Down", 0x28},
    {"Insert", 0x2D},
    {"Delete", 0x2E},
    {"Print", 0x2C},
    {"NumPad0", 0x60},
    {"NumPad1", 0x61},
    {"NumPad2", 0x62},
    {"NumPad3", 0x63},
    {"NumPad4", 0x64},
    {"NumPad5", 0x65},
    {"NumPad6", 0x66},
    {"NumPad7", 0x67},
    {"NumPad8", 0x68},
    {"NumPad9", 0x69},
    {"NumPadMultiply", 0x6A},
    {"NumPadAdd", 0x6B},
    {"NumPadDivide", 0x6F},
    {"NumPadSubtract", 0x6D},
    {"NumPadDecimal", 0x6E},
    {"MenuLeft", 0xA4},
    {"MenuRight", 0x5D},
    {"Win", 0x5B},
    {"WinLeft", 0x5B},
    {"WinRight", 0x5C},
    {"F1", 0x70},
    {"F2", 0x71},
    {"F3", 0x72},
    {"F4", 0x73},
    {"F5", 0x74},
    {"F6", 0x75},
    {"F7", 0x76},
    {"F8", 0x77},
    {"F9", 0x78},
    {"F10", 0x79},
    {"F11", 0x7A},
    {"F12", 0x7B},
    {"F13", 0x7C},
    {"F14", 0x7D},
    {"F15", 0x7E},
    {"F16", 0x7F},
    {"F17", 0x80},
    {"F18", 0x81},
    {"F19", 0x82},
    {"F20", 0x83},
    {"F21", 0x84},
    {"F22", 0x85},
    {"F23", 0x86},
    {"F24", 0x87},
    {"NumLock", 0x90},
    {"ScrollLock", 0x91},
    {"CapsLock", 0x14},
}};

// The object model's modifier words and the native bits they become.
constexpr std::array<std::pair<int, int>, 4> ModifierBits{{
    {0x100, NativeInterface::Shift},
    {0x200, NativeInterface::Alt},
    {0x80, NativeInterface::Ctrl},
    {0x800, NativeInterface::Meta},
}};

QString unterminated(const QString &text, qsizetype from)
{
    return QStringLiteral("Unterminated key combination: ") + text.mid(from);
}

} // namespace

FunctionCallResult<QList<QList<QString>>> parseKeyEvents(const QString &text)
{
    using Result = FunctionCallResult<QList<QList<QString>>>;
    QList<QList<QString>> events;
    qsizetype i = 0;
    while (i < text.size()) {
        if (text[i] != QLatin1Char('<')) {
            events.append(QList<QString>{QString(text[i])});
            ++i;
            continue;
        }
        const qsizetype start = i;
        qsizetype keyStart = i + 1;
        // The first character inside may be anything, ">" and "+" too.
        qsizetype close = text.indexOf(QLatin1Char('>'), i + 2);
        if (close < 0)
            return Result::failure(unterminated(text, i));
        QList<QString> entry;
        qsizetype plus = text.indexOf(QLatin1Char('+'), i + 2);
        while (plus >= 0 && plus < close) {
            entry.append(text.mid(keyStart, plus - keyStart));
            keyStart = plus + 1;
            // From two behind: "+" may be a key of its own, as in <Ctrl++>.
            plus = text.indexOf(QLatin1Char('+'), plus + 2);
            if (keyStart >= close) {
                // The ">" just passed was a key itself, as in <Ctrl+>>.
                close = text.indexOf(QLatin1Char('>'), keyStart + 1);
                if (close < 0)
                    return Result::failure(unterminated(text, start));
            }
        }
        entry.append(text.mid(keyStart, close - keyStart));
        events.append(entry);
        i = close + 1;
    }
    return events;
}

FunctionCallResult<int> tolvexModifiersToNative(int modifiers)
{
    int native = 0;
    int rest = modifiers;
    for (const auto &[word, bit] : ModifierBits) {
        if (rest & word) {
            native |= bit;
            rest &= ~word;
        }
    }
    if (rest)
        return FunctionCallResult<int>(0,
                                       QStringLiteral("Invalid keyboard modifier(s) %1").arg(rest));
    return native;
}

int specialKeyVirtualKey(const QString &name)
{
    const QByteArray latin1 = name.toLatin1();
    for (const SpecialKey &key : SpecialKeys)
        if (latin1 == key.name)
            return key.virtualKey;
    return -1;
}

QList<QString> specialKeyNames()
{
    QList<QString> names;
    for (const SpecialKey &key : SpecialKeys)
        names.append(QString::fromLatin1(key.name));
    return names;
}

bool isValidKey(const QString &name)
{
    PlatformPlugin *plugin = PlatformPlugin::current();
    NativeInterface *native = plugin ? plugin->nativeInterface() : nullptr;
    return native && native->isValidSpecialKey(name);
}

} // namespace Tolvex
