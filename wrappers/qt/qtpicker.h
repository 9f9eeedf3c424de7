#pragma once

// Picking mode: while the object browser asks for it, the object under the
// pointer is highlighted, and a click selects it instead of reaching the
// application. The selection goes to the browser as "objectPicked" with the
// object's handle and its real name.

#include <QObject>
#include <QPointer>

class QWindow;

namespace Tolvex {

class QtPicker : public QObject
{
    Q_OBJECT
public:
    explicit QtPicker(QObject *parent = nullptr);
    ~QtPicker() override;

    void setPicking(bool on);
    bool isPicking() const { return m_picking; }

    // The widget or Quick item at a point of the screen in a window, in
    // logical pixels; null when there is none of the application's own.
    static QObject *objectAt(QObject *window, const QPoint &globalPosition);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void hover(QObject *target);
    void pick(QObject *target);

    bool m_picking = false;
    // The press was taken: its release and double click are taken too.
    bool m_swallowing = false;
    QPointer<QObject> m_hovered;
};

} // namespace Tolvex
