#pragma once

// Comparing pictures where a codec or a scaler may have touched them.

#include <QImage>

namespace TestSupport {

// The mean difference per colour channel, 0 to 255; 255 for pictures of
// different sizes or none.
inline double meanDifference(const QImage &a, const QImage &b)
{
    if (a.size() != b.size() || a.isNull())
        return 255.0;
    const QImage x = a.convertToFormat(QImage::Format_RGB32);
    const QImage y = b.convertToFormat(QImage::Format_RGB32);
    qint64 sum = 0;
    for (int row = 0; row < x.height(); ++row) {
        const auto *p = reinterpret_cast<const QRgb *>(x.constScanLine(row));
        const auto *q = reinterpret_cast<const QRgb *>(y.constScanLine(row));
        for (int col = 0; col < x.width(); ++col)
            sum += qAbs(qRed(p[col]) - qRed(q[col])) + qAbs(qGreen(p[col]) - qGreen(q[col])) +
                   qAbs(qBlue(p[col]) - qBlue(q[col]));
    }
    return double(sum) / (3.0 * double(x.width()) * x.height());
}

} // namespace TestSupport
