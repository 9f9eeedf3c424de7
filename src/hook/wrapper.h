#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

namespace Tolvex {

// The toolkit side of the agent, one per GUI toolkit in the process. Toolkit
// libraries derive from it and hand an instance to Hook::connectAndCreateHook
// or Hook::addWrapper. Object readiness, name reuse and pointer input come
// with the object access calls; this base holds what hook-up and exit need.
class Wrapper : public QObject
{
    Q_OBJECT
public:
    ~Wrapper() override;

    // Sent to the runner in "requestDescriptorData" during hook-up.
    virtual QString wrapperName() const = 0;
    // Asked to end the application; the default leaves the event loop with
    // the code, so the application shuts down the way it normally would.
    virtual void exitAUT(int code);

public Q_SLOTS:
    // The descriptor data the runner answered "requestDescriptorData" with.
    virtual void parseDescriptorData(const QByteArray &data);
    virtual void notifyEventRecordingEnabled(bool on);

protected:
    explicit Wrapper(QObject *parent = nullptr);
};

} // namespace Tolvex
