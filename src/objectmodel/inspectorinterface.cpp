#include "inspectorinterface.h"

#include "class.h"
#include "delegate.h"
#include "enum.h"

#include <QByteArray>

namespace Tolvex {

InspectorInterface::InspectorInterface() = default;

InspectorInterface::~InspectorInterface()
{
    delete m_sendEventDelegates;
}

void InspectorInterface::sendEvent(const Event *event, SharedPtr<Object> obj,
                                   const ObjectList &args) const
{
    if (!m_sendEventDelegates)
        return;
    for (SendEventDelegate *d : *m_sendEventDelegates)
        if (d->sendEvent(event, obj, args))
            return;
}

SharedPtr<Object> InspectorInterface::createPrimitive(const QString &string)
{
    const QByteArray utf8 = string.toUtf8();
    return createPrimitive(utf8.constData());
}

const Enum *InspectorInterface::enumerator(const QString &name) const
{
    // The first character is skipped so that a leading "::" is no separator.
    const int separator = name.size() > 1 ? name.lastIndexOf(QLatin1String("::")) : -1;
    if (separator > 0) {
        const Class *c = type(name.left(separator));
        return c ? c->enumerator(name.mid(separator + 2)) : nullptr;
    }
    const Class *global = type(m_globalClassId);
    return global ? global->enumerator(name) : nullptr;
}

void InspectorInterface::addSendEventDelegate(SendEventDelegate *delegate)
{
    if (!m_sendEventDelegates)
        m_sendEventDelegates = new FList<SendEventDelegate *>;
    m_sendEventDelegates->append(delegate);
}

void InspectorInterface::removeSendEventDelegate(SendEventDelegate *delegate)
{
    if (m_sendEventDelegates)
        m_sendEventDelegates->remove(delegate);
}

void InspectorInterface::setEventNotifyDelegate(EventNotifyDelegate *delegate)
{
    m_eventNotifyDelegate = delegate;
}

void InspectorInterface::recordEvent(const EventData &data) const
{
    if (m_eventNotifyDelegate)
        m_eventNotifyDelegate->eventRecorded(data);
}

bool InspectorInterface::isEventRecordingEnabled() const
{
    return m_eventRecordingEnabled && m_eventNotifyDelegate;
}

} // namespace Tolvex
