#pragma once

#include "widgethighlighter.h"

#include <memory>

namespace Tolvex {

class XConnection;
class XOverlayWindow;

// The highlighter on X11: two override-redirect windows of its own, which
// take neither input nor focus. The rectangle is red at half opacity where
// a compositing manager blends a 32-bit window; without one it is a red
// frame, shaped so that the object inside stays visible. The tooltip is
// pale yellow with black text and follows the pointer at (15, 15).
class XWidgetHighlighter : public WidgetHighlighter
{
public:
    explicit XWidgetHighlighter(std::shared_ptr<XConnection> connection);
    ~XWidgetHighlighter() override;

    void setGeometry(const Rect<1> &rect) override;
    void setToolTip(const QString &text) override;
    void updateToolTip() override;
    bool isVisible() const override;
    void show() override;
    void hide() override;

private:
    std::shared_ptr<XConnection> m_connection;
    std::unique_ptr<XOverlayWindow> m_overlay;
    std::unique_ptr<XOverlayWindow> m_toolTip;
};

} // namespace Tolvex
