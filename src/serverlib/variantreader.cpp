#include "variantreader.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QPoint>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

namespace Tolvex {

namespace {

// The type numbers that streams before version 7 carry, in their order;
// 0 marks a number with no type behind it.
constexpr int OldTypeIds[] = {
    QMetaType::UnknownType, QMetaType::QVariantMap,  QMetaType::QVariantList,
    QMetaType::QString,     QMetaType::QStringList,  QMetaType::QFont,
    QMetaType::QPixmap,     QMetaType::QBrush,       QMetaType::QRect,
    QMetaType::QSize,       QMetaType::QColor,       QMetaType::QPalette,
    QMetaType::UnknownType, QMetaType::QIcon,        QMetaType::QPoint,
    QMetaType::QImage,      QMetaType::Int,          QMetaType::UInt,
    QMetaType::Bool,        QMetaType::Double,       QMetaType::UnknownType,
    QMetaType::QPolygon,    QMetaType::QRegion,      QMetaType::QBitmap,
    QMetaType::QCursor,     QMetaType::QSizePolicy,  QMetaType::QDate,
    QMetaType::QTime,       QMetaType::QDateTime,    QMetaType::QByteArray,
    QMetaType::QBitArray,   QMetaType::QKeySequence, QMetaType::QPen,
    QMetaType::LongLong,    QMetaType::ULongLong,    QMetaType::QEasingCurve,
};
constexpr quint32 OldTypeCount = sizeof(OldTypeIds) / sizeof(OldTypeIds[0]);

bool ok(const QDataStream &s)
{
    return s.status() == QDataStream::Ok;
}

// Pixmaps, cursors, fonts and the values made of them abort a process that
// has no GUI application when they are merely constructed; a peer must not
// be able to end the process that way, so there they are refused.
bool loadable(QMetaType type)
{
    const int id = type.id();
    if (id < QMetaType::FirstGuiType || id > QMetaType::LastGuiType)
        return true;
    const QCoreApplication *app = QCoreApplication::instance();
    return app && app->inherits("QGuiApplication");
}

void readValue(QDataStream &s, QVariant *value, int depth);

void readList(QDataStream &s, QVariant *value, int depth)
{
    quint32 n = 0;
    s >> n;
    QVariantList list;
    for (quint32 i = 0; i < n && ok(s); ++i) {
        QVariant element;
        readValue(s, &element, depth + 1);
        if (ok(s))
            list.append(element);
    }
    *value = ok(s) ? QVariant(list) : QVariant();
}

void readMap(QDataStream &s, QVariant *value, int depth)
{
    quint32 n = 0;
    s >> n;
    QVariantMap map;
    for (quint32 i = 0; i < n && ok(s); ++i) {
        QString key;
        QVariant element;
        s >> key;
        readValue(s, &element, depth + 1);
        // Like Qt's reader: of equal keys, the one read last is found.
        if (ok(s))
            map.insert(key, element);
    }
    *value = ok(s) ? QVariant(map) : QVariant();
}

void readStringList(QDataStream &s, QVariant *value)
{
    quint32 n = 0;
    s >> n;
    QStringList list;
    for (quint32 i = 0; i < n && ok(s); ++i) {
        QString element;
        s >> element;
        if (ok(s))
            list.append(element);
    }
    *value = ok(s) ? QVariant(list) : QVariant();
}

// A point array: read the points that are really there, then let the
// type's own loader read them back from a buffer that holds just those.
void readPolygon(QDataStream &s, QVariant *value, QMetaType type)
{
    quint32 n = 0;
    s >> n;
    QByteArray validated;
    QDataStream out(&validated, QIODevice::WriteOnly);
    out.setVersion(s.version());
    QList<QPoint> points;
    for (quint32 i = 0; i < n && ok(s); ++i) {
        QPoint p;
        s >> p;
        if (ok(s))
            points.append(p);
    }
    if (!ok(s)) {
        *value = QVariant();
        return;
    }
    out << quint32(points.size());
    for (const QPoint &p : points)
        out << p;
    QDataStream in(validated);
    in.setVersion(s.version());
    QVariant v(type);
    if (!type.load(in, v.data()))
        s.setStatus(QDataStream::ReadCorruptData);
    *value = v;
}

void readValue(QDataStream &s, QVariant *value, int depth)
{
    *value = QVariant();
    if (depth > MaxVariantNesting) {
        s.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    quint32 oldId = 0;
    s >> oldId;
    if (!ok(s))
        return;
    // Qt's reader gives an invalid value for a number past its table and
    // reads nothing more.
    if (oldId >= OldTypeCount)
        return;
    const int id = OldTypeIds[oldId];
    const QMetaType type(id);
    if (id == QMetaType::UnknownType || !type.isValid()) {
        // No such type here (a GUI type in a process without QtGui): the
        // writer wrote a string in its place.
        QString placeholder;
        s >> placeholder;
        return;
    }
    if (!loadable(type)) {
        s.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    switch (id) {
    case QMetaType::QVariantList:
        readList(s, value, depth);
        return;
    case QMetaType::QVariantMap:
        readMap(s, value, depth);
        return;
    case QMetaType::QStringList:
        readStringList(s, value);
        return;
    case QMetaType::QPolygon:
        readPolygon(s, value, type);
        return;
    default:
        break;
    }
    QVariant v(type);
    if (!type.load(s, v.data())) {
        s.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    if (ok(s))
        *value = v;
}

} // namespace

void readVariant(QDataStream &stream, QVariant *value)
{
    if (stream.version() >= QDataStream::Qt_4_0) {
        // Newer stream versions are not used on the wire; leave them to Qt.
        stream >> *value;
        return;
    }
    readValue(stream, value, 0);
}

} // namespace Tolvex
