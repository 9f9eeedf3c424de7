#include "xwidgethighlighter.h"

#include "xconnection.h"
#include "xoverlaywindow.h"
#include "xpointer.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

namespace Tolvex {

namespace {

// Red at alpha 127 of 255.
constexpr std::uint32_t OverlayColor = 0x7FFF0000;
// Where the rectangle cannot be translucent, a frame this wide.
constexpr int FrameWidth = 3;
// Pale yellow: red 255, green 255, blue 151.
constexpr std::uint32_t ToolTipColor = 0xFFFF97;
constexpr int ToolTipMargin = 4;
// The tooltip is sized by the whole text and painted with this much of it.
constexpr int ToolTipPaintedLength = 1023;

} // namespace

XWidgetHighlighter::XWidgetHighlighter(std::shared_ptr<XConnection> connection)
    : m_connection(std::move(connection)),
      m_overlay(std::make_unique<XOverlayWindow>(*m_connection, true)),
      m_toolTip(std::make_unique<XOverlayWindow>(*m_connection, false))
{
    if (m_overlay->isTranslucent()) {
        m_overlay->setColor(OverlayColor);
    } else {
        m_overlay->setColor(0xFF000000 | OverlayColor);
        m_overlay->setFrameWidth(FrameWidth);
    }
}

XWidgetHighlighter::~XWidgetHighlighter() = default;

void XWidgetHighlighter::setGeometry(const Rect<1> &rect)
{
    m_overlay->setGeometry(rect.x, rect.y, rect.width, rect.height);
}

void XWidgetHighlighter::setToolTip(const QString &text)
{
    if (text.isEmpty()) {
        m_toolTip->hide();
        return;
    }
    if (qGuiApp) {
        const QFont font = QGuiApplication::font();
        const QFontMetrics metrics(font);
        const QSize size(metrics.horizontalAdvance(text) + 2 * ToolTipMargin,
                         metrics.height() + 2 * ToolTipMargin);
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(QColor::fromRgb(0xFF000000 | ToolTipColor));
        QPainter painter(&picture);
        painter.setPen(Qt::black);
        painter.drawRect(0, 0, size.width() - 1, size.height() - 1);
        painter.setFont(font);
        painter.drawText(ToolTipMargin, ToolTipMargin + metrics.ascent(),
                         text.left(ToolTipPaintedLength));
        painter.end();
        m_toolTip->setPicture(reinterpret_cast<const std::uint32_t *>(picture.constBits()),
                              picture.width(), picture.height(), int(picture.bytesPerLine()));
    } else {
        // No fonts of Qt's without its application: the server's own font.
        m_toolTip->setText(text.left(ToolTipPaintedLength).toLatin1().toStdString(), ToolTipColor);
    }
    m_toolTip->show();
}

void XWidgetHighlighter::updateToolTip()
{
    int x = 0;
    int y = 0;
    if (queryPointer(*m_connection, &x, &y))
        m_toolTip->move(x + 15, y + 15);
}

bool XWidgetHighlighter::isVisible() const
{
    return m_overlay->isShown();
}

void XWidgetHighlighter::show()
{
    m_overlay->show();
    updateToolTip();
}

void XWidgetHighlighter::hide()
{
    m_overlay->hide();
    m_toolTip->hide();
}

} // namespace Tolvex
