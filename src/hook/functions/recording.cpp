// Recording and events: what the recorder wants recorded and how, the
// script's event handlers, and events the script sends into the application.

#include "class.h"
#include "event.h"
#include "hook.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "logging.h"
#include "objecthandles.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

// Installing tells the wrappers to watch the event; the answer is made
// before, as a slot of the signal may delete the Hook.
bool registered(Context &c, const QString &event)
{
    Q_EMIT c.hook.eventHandlerRegistered(event);
    return true;
}

// An object's handlers name it by id; an unknown one is no target.
SharedPtr<Object> handlerTarget(Context &c, int id, const char *symbol)
{
    SharedPtr<Object> object = c.objects().objectById(id);
    if (!object)
        logLine(QStringLiteral("Hook::handleCall: ") + QLatin1String(symbol) +
                QStringLiteral(": Invalid object"));
    return object;
}

void sendEvent(Context &c, int eventId, int receiverId, const IdsFrom &args)
{
    const Class *global = Inspector::self()->globalClass();
    const Event *event = global ? global->event(eventId) : nullptr;
    if (!event) {
        logLine(QStringLiteral("Hook::sendEvent: invalid event"));
        return;
    }
    SharedPtr<Object> receiver = c.objects().objectById(receiverId);
    if (!receiver) {
        logLine(QStringLiteral("Hook::sendEvent: invalid receiver"));
        return;
    }
    Inspector::self()->sendEvent(event, receiver, c.objects().idsToObjects(args.ids));
}

constexpr RemoteFunction Functions[] = {
    send("setEventRecordingEnabled", unchecked,
         served<[](Context &c, bool on) { c.hook.setEventRecordingEnabled(on); }>),
    send("setDisableEventCompression", unchecked,
         served<[](Context &c) { c.hook.setDisableEventCompression(); }>),
    call("enableEventCompression", exactly(2),
         served<[](Context &c, const QString &event, bool on) {
             c.hook.enableEventCompression(event, on);
         }>),
    send("setRecorderId", unchecked, served<[](Context &c, int id) { c.d.recorderId = id; }>),
    send("stopRecord", unchecked, served<[](Context &c) { c.hook.stopRecord(); }>),
    call("setRecorderFilter", exactly(2),
         served<[](Context &, const QString &key, const QString &filter) {
             Inspector::self()->setRecorderFilter(key, filter);
         }>,
         {.wordedAs = "setRecordFilter"}),

    call("addPropertyDelegate", exactly(2),
         served<[](Context &, const QString &className, const QStringList &properties) {
             Inspector::self()->addPropertyDelegate(className, properties);
         }>),
    call("setUniqueProperty", exactly(2),
         served<[](Context &, const QString &className, const QString &property) {
             Inspector::self()->setUniqueProperty(className, property);
         }>),
    call("setExtensionCode", exactly(2),
         served<[](Context &, const QString &code, const QString &language) {
             Inspector::self()->setExtensionCode(code, language);
         }>),
    call("setMouseTracking", exactly(2), served<[](Context &, const QString &className, bool on) {
             Inspector::self()->setMouseTracking(className, on);
         }>),
    call("setRecordMouseDrag", exactly(2), served<[](Context &, const QString &className, bool on) {
             Inspector::self()->setRecordMouseDrag(className, on);
         }>),
    call("setAllowKeyEventCompression", exactly(2),
         served<[](Context &, const QString &className, bool on) {
             Inspector::self()->setAllowKeyEventCompression(className, on);
         }>),

    call("installEventHandler1", exactly(3),
         served<[](Context &c, int id, const QString &event, const QString &handler) {
             SharedPtr<Object> object = handlerTarget(c, id, "F_InstallEventHandler1");
             if (!object)
                 return false;
             Inspector::self()->installObjectEventHandler(object, event, handler);
             return registered(c, event);
         }>),
    call("uninstallEventHandler1", exactly(3),
         served<[](Context &c, int id, const QString &event, const QString &handler) {
             SharedPtr<Object> object = handlerTarget(c, id, "F_UninstallEventHandler1");
             if (!object)
                 return false;
             Inspector::self()->uninstallObjectEventHandler(object, event, handler);
             return true;
         }>),
    call("installEventHandler2", exactly(3),
         served<[](Context &c, const QString &className, const QString &event,
                   const QString &handler) {
             Inspector::self()->installClassEventHandler(className, event, handler);
             return registered(c, event);
         }>),
    call("uninstallEventHandler2", exactly(3),
         served<[](Context &, const QString &className, const QString &event,
                   const QString &handler) {
             Inspector::self()->uninstallClassEventHandler(className, event, handler);
             return true;
         }>),
    call("installEventHandler3", exactly(2),
         served<[](Context &c, const QString &event, const QString &handler) {
             Inspector::self()->installGlobalEventHandler(event, handler);
             return registered(c, event);
         }>),
    call("uninstallEventHandler3", exactly(2),
         served<[](Context &, const QString &event, const QString &handler) {
             Inspector::self()->uninstallGlobalEventHandler(event, handler);
             return true;
         }>),

    send("sendEvent", atLeast(2), served<&sendEvent>),
    // The script's answer to a callback needs no handling here.
    neither("callBackCompleted"),
};

} // namespace

std::span<const RemoteFunction> recordingFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
