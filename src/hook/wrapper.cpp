#include "wrapper.h"

#include <QCoreApplication>

namespace Tolvex {

Wrapper::Wrapper(QObject *parent) : QObject(parent) {}

Wrapper::~Wrapper() = default;

void Wrapper::exitAUT(int code)
{
    QCoreApplication::exit(code);
}

void Wrapper::parseDescriptorData(const QByteArray &) {}

void Wrapper::notifyEventRecordingEnabled(bool) {}

} // namespace Tolvex
