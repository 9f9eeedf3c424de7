#pragma once

#include "tolvexexport.h"

#include <QImage>
#include <QTransform>
#include <QVariant>

namespace Tolvex {

// A picture of the screen or of part of it: the pixels, the mapping from
// image coordinates to screen coordinates, and the device pixels per
// logical pixel.
struct TOLVEX_EXPORT Screenshot
{
    QImage image;
    QTransform transform;
    double density = 1.0;

    // The form a reply carries: invalid for a null image, else a map of
    // "image" (the image as BMP, compressed by qCompress at level 1),
    // "transform" (m11, m12, m21, m22, dx, dy) and "density".
    QVariant toVariant() const;
    // The other way; a null image for anything that is not such a map.
    static Screenshot fromVariant(const QVariant &wire);
};

} // namespace Tolvex
