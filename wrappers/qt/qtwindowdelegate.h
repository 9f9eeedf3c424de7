#pragma once

// Close, move, resize, minimize, maximize, restore and raise the top-level
// window that shows a widget, a Quick item or a window, for the scripts'
// window functions. Positions and sizes are Qt's logical pixels; a position
// is that of the window's frame, a size that of its contents, as QWidget's
// move and resize take them.

#include "delegate.h"

namespace Tolvex {

class QtWindowDelegate : public WindowInteractionDelegate
{
public:
    explicit QtWindowDelegate(const QString &className) : WindowInteractionDelegate(className) {}

    // Registers one for each kind of Qt object that has a window.
    static void addAll();

    FunctionCallResult<void> closeWindow(SharedPtr<Object> obj) const override;
    FunctionCallResult<void> maximizeWindow(SharedPtr<Object> obj) const override;
    FunctionCallResult<void> minimizeWindow(SharedPtr<Object> obj) const override;
    FunctionCallResult<void> moveWindow(SharedPtr<Object> obj, int x, int y) const override;
    FunctionCallResult<void> resizeWindow(SharedPtr<Object> obj, int width,
                                          int height) const override;
    FunctionCallResult<void> restoreWindow(SharedPtr<Object> obj) const override;
    FunctionCallResult<void> setFullscreenWindow(SharedPtr<Object> obj,
                                                 bool fullscreen) const override;
    FunctionCallResult<void> setForegroundWindow(SharedPtr<Object> obj) const override;
    FunctionCallResult<void> setFocusedWindow(SharedPtr<Object> obj) const override;
    FunctionCallResult<SharedPtr<Object>> focusedWindow() const override;
    // The frame's rectangle on the desktop.
    FunctionCallResult<Rect<2>> windowGeometry(SharedPtr<Object> obj) const override;
};

} // namespace Tolvex
