#include "screenshot.h"

#include <QBuffer>
#include <QVariantList>
#include <QVariantMap>

namespace Tolvex {

QVariant Screenshot::toVariant() const
{
    if (image.isNull())
        return QVariant();
    QByteArray bmp;
    QBuffer buffer(&bmp);
    buffer.open(QIODevice::WriteOnly);
    // Speed over size: BMP with the fastest compression, never PNG.
    image.save(&buffer, "BMP", 100);
    return QVariantMap{
        {QStringLiteral("image"), qCompress(bmp, 1)},
        {QStringLiteral("transform"),
         QVariantList{transform.m11(), transform.m12(), transform.m21(), transform.m22(),
                      transform.dx(), transform.dy()}},
        {QStringLiteral("density"), density},
    };
}

Screenshot Screenshot::fromVariant(const QVariant &wire)
{
    Screenshot shot;
    const QVariantMap map = wire.toMap();
    const QByteArray bmp = qUncompress(map.value(QStringLiteral("image")).toByteArray());
    if (bmp.isEmpty() || !shot.image.loadFromData(bmp, "BMP"))
        return Screenshot();
    const QVariantList t = map.value(QStringLiteral("transform")).toList();
    if (t.size() == 6)
        shot.transform = QTransform(t[0].toDouble(), t[1].toDouble(), t[2].toDouble(),
                                    t[3].toDouble(), t[4].toDouble(), t[5].toDouble());
    shot.density = map.value(QStringLiteral("density"), 1.0).toDouble();
    return shot;
}

} // namespace Tolvex
