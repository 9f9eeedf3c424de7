#pragma once

// The highlighter of Windows: the Qt face of the Win32 overlay windows.

#include "tolvexexport.h"
#include "widgethighlighter.h"

#include <memory>

namespace Tolvex {

namespace Win {
class Highlighter;
}

class TOLVEX_EXPORT WinWidgetHighlighter : public WidgetHighlighter
{
public:
    // Creates the windows on the calling thread.
    WinWidgetHighlighter();
    ~WinWidgetHighlighter() override;

    void setGeometry(const Rect<1> &rect) override;
    void setToolTip(const QString &text) override;
    void updateToolTip() override;
    bool isVisible() const override;
    void show() override;
    void hide() override;

private:
    std::unique_ptr<Win::Highlighter> m_windows;
};

} // namespace Tolvex
