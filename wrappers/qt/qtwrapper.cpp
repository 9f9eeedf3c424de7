#include "qtwrapper.h"

#include "inspector.h"

namespace Tolvex {

class QtWrapperPrivate
{
};

QtWrapper::QtWrapper(QObject *parent) : Wrapper(parent), d(std::make_unique<QtWrapperPrivate>()) {}

QtWrapper::~QtWrapper() = default;

QString QtWrapper::wrapperName() const
{
    return QStringLiteral("Qt");
}

bool QtWrapper::ownsObject(SharedPtr<Object>) const
{
    return false;
}

bool QtWrapper::isObjectReady(SharedPtr<Object>)
{
    Inspector::self()->setError(QStringLiteral("Object readiness is not known yet"));
    return false;
}

void QtWrapper::spyModeChanged(bool) {}

void QtWrapper::recordingStopped() {}

} // namespace Tolvex
