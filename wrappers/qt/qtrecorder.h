#pragma once

// Turns what a user does in the application, while a test is recorded, into
// recorded events: clicks on buttons, items, tabs and anything else, double
// clicks, drags, typing, the choice of a combo box's option and menu
// activations, each on the object's name (the object map's name where it
// has one). Only real input counts, each event once however far Qt passes
// it on.
//
// Typing into one object is folded into one event while the event
// compression of "type" is on and the class allows key event compression;
// a click waits a double-click interval in case it becomes a double click.
// What waits goes out with the next event, after a pause, when recording
// stops, or when the application quits.

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QTimer>

#include <memory>

class QComboBox;
class QInputEvent;
class QKeyEvent;
class QMouseEvent;

namespace Tolvex {

class EventData;
class Wrapper;

class QtRecorder : public QObject
{
    Q_OBJECT
public:
    explicit QtRecorder(Wrapper *wrapper);
    ~QtRecorder() override;

    void setRecording(bool on);
    bool isRecording() const { return m_recording; }
    // Sends the event that waits, if any.
    void flush();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Press
    {
        QPointer<QObject> target;
        QPoint position;
        QPoint globalPosition;
        int button = 0;
        int modifiers = 0;
    };
    struct Pending;

    bool isFirstDelivery(const QInputEvent *event);
    void mousePressed(QObject *target, const QMouseEvent *event);
    void mouseReleased(QObject *target, const QMouseEvent *event);
    void mouseDoubleClicked(QObject *target, const QMouseEvent *event);
    void keyPressed(QObject *target, const QKeyEvent *event);
    void clicked(QObject *target, const QMouseEvent *event);
    void watchComboBox(QComboBox *combo);

    QString nameOf(QObject *object);
    void record(const EventData &data);
    void hold(std::unique_ptr<Pending> pending, int waitMs);

    Wrapper *m_wrapper;
    bool m_recording = false;
    Press m_press;
    bool m_skipNextRelease = false;
    std::unique_ptr<Pending> m_pending;
    QTimer m_pendingTimer;
    QHash<QObject *, QMetaObject::Connection> m_comboBoxes;
    // The last input event handled, which Qt hands on to parents.
    int m_lastType = 0;
    quint64 m_lastTimestamp = 0;
};

} // namespace Tolvex
