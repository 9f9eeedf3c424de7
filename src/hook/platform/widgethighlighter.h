#pragma once

#include "rect.h"
#include "tolvexexport.h"

#include <QString>

namespace Tolvex {

// Shows which object is under inspection: a translucent red rectangle over
// it on the real desktop, in windows of its own, and a small tooltip that
// follows the pointer. No application window is touched.
//
// The virtual operations keep their order: plug-ins built separately from
// this library depend on it.
class TOLVEX_EXPORT WidgetHighlighter
{
public:
    // Only stored: what a mode means is the caller's business.
    using ToolTipMode = int;

    virtual ~WidgetHighlighter();
    virtual void setGeometry(const Rect<1> &rect) = 0;
    // An empty text hides the tooltip, and leaves the rectangle.
    virtual void setToolTip(const QString &text) = 0;
    // Moves the tooltip beside the pointer.
    virtual void updateToolTip() = 0;
    virtual bool isVisible() const = 0;
    virtual void show() = 0;
    virtual void hide() = 0;

    ToolTipMode toolTipMode() const { return m_toolTipMode; }
    // A new mode while visible moves the tooltip.
    void setToolTipMode(ToolTipMode mode);

    // The highlighter of the current platform plug-in, asked for once and
    // kept; null without a plug-in.
    static WidgetHighlighter *self();
    // Forgets the kept one, as when the plug-in changes.
    static void reset();

private:
    ToolTipMode m_toolTipMode = 0;
};

class TOLVEX_EXPORT NullWidgetHighlighter : public WidgetHighlighter
{
public:
    void setGeometry(const Rect<1> &) override {}
    void setToolTip(const QString &) override {}
    void updateToolTip() override {}
    bool isVisible() const override { return false; }
    void show() override {}
    void hide() override {}
};

// Hands each operation to another highlighter, which may be swapped.
class TOLVEX_EXPORT WidgetHighlighterForwarder : public WidgetHighlighter
{
public:
    explicit WidgetHighlighterForwarder(WidgetHighlighter *implementation);

    void setImplementation(WidgetHighlighter *implementation);
    WidgetHighlighter *implementation() const { return m_implementation; }

    void setGeometry(const Rect<1> &rect) override;
    void setToolTip(const QString &text) override;
    void updateToolTip() override;
    bool isVisible() const override;
    void show() override;
    void hide() override;

private:
    WidgetHighlighter *m_implementation;
};

} // namespace Tolvex
