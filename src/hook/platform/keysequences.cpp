#include "keysequences.h"

#include "nativeinterface.h"
#include "platformplugin.h"
#include "specialkeys.h"

#include <array>
#include <string_view>
#include <utility>

namespace Tolvex {

namespace {

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
    return SpecialKeyTable::virtualKey(std::string_view(latin1.constData(), latin1.size()));
}

QList<QString> specialKeyNames()
{
    QList<QString> names;
    for (const SpecialKeyTable::Row &row : SpecialKeyTable::Rows)
        names.append(QString::fromLatin1(row.name));
    return names;
}

bool isValidKey(const QString &name)
{
    PlatformPlugin *plugin = PlatformPlugin::current();
    NativeInterface *native = plugin ? plugin->nativeInterface() : nullptr;
    return native && native->isValidSpecialKey(name);
}

} // namespace Tolvex
