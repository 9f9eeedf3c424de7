#pragma once

#include <QDataStream>
#include <QString>

namespace Tolvex {

// Metadata arrives from another process and may be torn or hostile: counts
// read from it never size an allocation up front. Elements are read one by
// one while the stream still has data, so memory grows only with the bytes
// that actually arrived.
inline bool streamCanContinue(const QDataStream &stream)
{
    return stream.status() == QDataStream::Ok && stream.device() && !stream.atEnd();
}

inline qint32 readInt(QDataStream &stream)
{
    qint32 value = 0;
    stream >> value;
    return stream.status() == QDataStream::Ok ? value : 0;
}

inline QString readString(QDataStream &stream)
{
    QString value;
    stream >> value;
    return value;
}

// Where a form has no text to give it writes an empty string, never a null
// one: at stream versions 3 and 6 a null QString is ff ff ff ff and an empty
// one 00 00 00 00. A Qt reader hides the difference; other readers do not.
inline void writeText(QDataStream &stream, const QString &text)
{
    if (text.isNull())
        stream << QString(QLatin1String(""));
    else
        stream << text;
}

} // namespace Tolvex
