#pragma once

// Where widgets, windows and Quick items lie on the screen. Qt works in
// logical pixels; the platform's native input and capture work in device
// pixels, which differ under a device pixel ratio other than 1 (Qt's own
// scaling, QT_SCALE_FACTOR). Positions relative to an object are logical,
// as the toolkit's own coordinates are.

#include "delegate.h"

#include <QPoint>
#include <QRect>

class QObject;

namespace Tolvex {

class QtClass;

class QtGeometryDelegate : public GeometryDelegate
{
public:
    explicit QtGeometryDelegate(const QString &className) : GeometryDelegate(className) {}

    // Registers a delegate for the class if its objects are shown on the
    // screen; delegates are looked up by the exact class name.
    static void addFor(const QtClass *c);

    Rect<2> globalBounds(SharedPtr<Object> obj) const override;
    Rect<1> nativeGlobalBounds(SharedPtr<Object> obj) const override;
    Point<1> relativeToNative(SharedPtr<Object> obj, int x, int y) const override;
    bool isVisible(SharedPtr<Object> obj) const override;
    SharedPtr<Object> window(SharedPtr<Object> obj) const override;

    // The same for QObjects. An object without a place on the screen has a
    // rectangle of negative size.
    static QRect logicalBounds(const QObject *object);
    static bool isShown(const QObject *object);
    // From logical global coordinates to native ones, on the screen that
    // shows the object (or the primary screen).
    static QPoint toNative(const QPoint &logical, const QObject *object);
    static QRect toNative(const QRect &logical, const QObject *object);
};

} // namespace Tolvex
