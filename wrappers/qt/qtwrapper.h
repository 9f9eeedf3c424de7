#pragma once

// The wrapper of Qt 6 Widgets and Qt Quick: it makes the application's
// QObjects the agent's objects.

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

    QString wrapperName() const override;
    bool ownsObject(SharedPtr<Object> object) const override;
    bool isObjectReady(SharedPtr<Object> object) override;
    void spyModeChanged(bool on) override;
    void recordingStopped() override;

private:
    std::unique_ptr<QtWrapperPrivate> d;
};

} // namespace Tolvex
