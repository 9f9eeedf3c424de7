#include "screen.h"

#include <QGuiApplication>
#include <QScreen>

#include <optional>

namespace Tolvex {

namespace {

// The GUI application's screens, or none without one.
std::optional<QList<QScreen *>> screens()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return std::nullopt;
    return QGuiApplication::screens();
}

} // namespace

Screen::~Screen() = default;

FunctionCallResult<int> StandardScreen::count()
{
    const std::optional<QList<QScreen *>> list = screens();
    if (!list)
        return FunctionCallResult<int>::failure(QStringLiteral("Cannot fetch screen count"));
    return int(list->size());
}

FunctionCallResult<Rect<2>> StandardScreen::geometry(int index)
{
    using Result = FunctionCallResult<Rect<2>>;
    const std::optional<QList<QScreen *>> list = screens();
    if (!list)
        return Result::failure(QStringLiteral("Cannot fetch screen geometry"));
    if (index < 0 || index >= list->size())
        return Result::failure(QStringLiteral("index out of range"));
    const QRect g = list->at(index)->geometry();
    Rect<2> rect(g.x(), g.y(), g.width(), g.height());
    rect.screen = index;
    return rect;
}

FunctionCallResult<int> StandardScreen::orientation(int index)
{
    using Result = FunctionCallResult<int>;
    const std::optional<QList<QScreen *>> list = screens();
    if (!list)
        return Result::failure(QStringLiteral("Cannot fetch screen orientation"));
    if (index < 0 || index >= list->size())
        return Result::failure(QStringLiteral("index out of range"));
    const Qt::ScreenOrientation o = list->at(index)->orientation();
    return o == Qt::LandscapeOrientation || o == Qt::InvertedLandscapeOrientation ? 2 : 1;
}

FunctionCallResult<void> StandardScreen::setOrientation(int, int)
{
    return FunctionCallResult<void>::failure(
        QStringLiteral("Modifying screen orientation is not supported on this platform"));
}

} // namespace Tolvex
