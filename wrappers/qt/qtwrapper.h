#pragma once

// The wrapper of Qt 6 Widgets and Qt Quick: it makes the application's
// QObjects the agent's objects.
//
// Made in the application's GUI thread once the application object exists,
// before the Hook, which it is then handed to:
//
//     auto *wrapper = new Tolvex::QtWrapper(app);
//     Tolvex::Hook::connectAndCreateHook(wrapper, autProcess, plugin, 0);
//
// What it needs of the Hook later (the native interface of the platform
// plug-in, the event compression settings) it takes from Hook::instance().

#include "tolvexqtexport.h"
#include "wrapper.h"

#include <memory>

namespace Tolvex {

class QtWrapperPrivate;

class TOLVEXQT_EXPORT QtWrapper : public Wrapper
{
    Q_OBJECT
public:
    explicit QtWrapper(QObject *parent = nullptr);
    ~QtWrapper() override;

    // The object of the model for a QObject, the same one each time while
    // the QObject lives; and the QObject of such an object.
    static SharedPtr<Object> objectFor(QObject *object);
    static QObject *qobjectOf(const SharedPtr<Object> &object);

    QString wrapperName() const override;
    bool ownsObject(SharedPtr<Object> object) const override;
    bool isObjectReady(SharedPtr<Object> object) override;
    bool isObjectItemReady(SharedPtr<Object> object, int row, int column) override;
    bool isObjectItemReady(SharedPtr<Object> object, const QString &text) override;
    SharedPtr<Object> getObjectItemIfReady(SharedPtr<Object> object, int row, int column) override;
    SharedPtr<Object> getObjectItemIfReady(SharedPtr<Object> object, const QString &text) override;
    bool possibleNameMatch(const QMap<QString, PropertyValue> &entry,
                           const QMap<QString, PropertyValue> &wanted) const override;
    void spyModeChanged(bool on) override;
    QString highlightObject(SharedPtr<Object> object) override;
    void recordingStopped() override;
    void notifyEventRecordingEnabled(bool on) override;
    QImage qImage(SharedPtr<Object> object) override;

private:
    std::unique_ptr<QtWrapperPrivate> d;
};

} // namespace Tolvex
