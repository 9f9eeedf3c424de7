#pragma once

// Text of every kind for typing: plain and shifted ASCII, Latin-1 and beyond
// that a US keymap lacks (more of them than it has spare keycodes), and
// characters outside the BMP. The tests and the typing benchmark share it.

#include <QList>
#include <QString>

#include <random>

namespace MixedText {

// The characters a text is made of. With capitals, also the capital
// umlauts, which xdotool cannot type: it binds a lone keysym, and the
// server makes its first level the small letter.
inline QList<QString> characters(bool capitalUmlauts)
{
    QString single = QStringLiteral(
        "abcdefghijklmnopqrstuvwxyz0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ"
        "!@#$%^&*()_+{}|:\"<>?~-=[];',./\\`"
        "\u00E4\u00F6\u00FC\u00DF\u00E9\u00E8\u00E7\u00F1\u00A3\u00A5\u00A9"
        "\u00B0\u00B1\u00B5\u20AC\u4E2D\u6587\u5B57\u65E5\u672C\u8A9E\uD55C\uAD6D\uC5B4");
    if (capitalUmlauts)
        single += QStringLiteral("\u00C4\u00D6\u00DC");
    QList<QString> kinds;
    for (const QChar c : single)
        kinds.append(QString(c));
    kinds.append(QStringLiteral("\U0001F600"));
    kinds.append(QStringLiteral("\U0001F680"));
    return kinds;
}

// A text of that many characters (not UTF-16 units), the same for a seed.
// It never starts with "<", so that typing it whole never reads it as a
// key combination.
inline QString make(int length, unsigned seed, bool capitalUmlauts = true)
{
    const QList<QString> kinds = characters(capitalUmlauts);
    std::mt19937 random(seed);
    std::uniform_int_distribution<qsizetype> pick(0, kinds.size() - 1);
    QString text;
    for (int i = 0; i < length;) {
        const QString &next = kinds[pick(random)];
        if (i == 0 && next == QLatin1String("<"))
            continue;
        text += next;
        ++i;
    }
    return text;
}

} // namespace MixedText
