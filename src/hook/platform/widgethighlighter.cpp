#include "widgethighlighter.h"

#include "platformplugin.h"

namespace Tolvex {

namespace {

WidgetHighlighter *s_highlighter = nullptr;

} // namespace

WidgetHighlighter::~WidgetHighlighter()
{
    if (s_highlighter == this)
        s_highlighter = nullptr;
}

void WidgetHighlighter::setToolTipMode(ToolTipMode mode)
{
    if (mode == m_toolTipMode)
        return;
    m_toolTipMode = mode;
    if (isVisible())
        updateToolTip();
}

WidgetHighlighter *WidgetHighlighter::self()
{
    if (!s_highlighter)
        if (PlatformPlugin *plugin = PlatformPlugin::current())
            s_highlighter = plugin->widgetHighlighter();
    return s_highlighter;
}

void WidgetHighlighter::reset()
{
    s_highlighter = nullptr;
}

WidgetHighlighterForwarder::WidgetHighlighterForwarder(WidgetHighlighter *implementation)
    : m_implementation(implementation)
{}

void WidgetHighlighterForwarder::setImplementation(WidgetHighlighter *implementation)
{
    m_implementation = implementation;
}

void WidgetHighlighterForwarder::setGeometry(const Rect<1> &rect)
{
    if (m_implementation)
        m_implementation->setGeometry(rect);
}

void WidgetHighlighterForwarder::setToolTip(const QString &text)
{
    if (m_implementation)
        m_implementation->setToolTip(text);
}

void WidgetHighlighterForwarder::updateToolTip()
{
    if (m_implementation)
        m_implementation->updateToolTip();
}

bool WidgetHighlighterForwarder::isVisible() const
{
    return m_implementation && m_implementation->isVisible();
}

void WidgetHighlighterForwarder::show()
{
    if (m_implementation)
        m_implementation->show();
}

void WidgetHighlighterForwarder::hide()
{
    if (m_implementation)
        m_implementation->hide();
}

} // namespace Tolvex
