#include "widgethighlighter_win.h"

#include "winhighlighter_win.h"

namespace Tolvex {

WinWidgetHighlighter::WinWidgetHighlighter() : m_windows(std::make_unique<Win::Highlighter>()) {}

WinWidgetHighlighter::~WinWidgetHighlighter() = default;

void WinWidgetHighlighter::setGeometry(const Rect<1> &rect)
{
    m_windows->setGeometry(rect.x, rect.y, rect.width, rect.height);
}

void WinWidgetHighlighter::setToolTip(const QString &text)
{
    m_windows->setToolTip(text.toStdWString());
}

void WinWidgetHighlighter::updateToolTip()
{
    m_windows->updateToolTip();
}

bool WinWidgetHighlighter::isVisible() const
{
    return m_windows->isVisible();
}

void WinWidgetHighlighter::show()
{
    m_windows->show();
}

void WinWidgetHighlighter::hide()
{
    m_windows->hide();
}

} // namespace Tolvex
