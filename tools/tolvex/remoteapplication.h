#pragma once

// An application under test as the tool drives it: started with the agent
// (preloaded, or linked in), hooked up to a server of its own on 127.0.0.1,
// its classes known, its objects found by name. Every lookup waits, as a
// tester expects: until the object is there and ready or the time-out ends.

#include "classcatalogue.h"
#include "remoteobject.h"

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QRect>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Tolvex {

class ApplicationServer;
class AUTLauncher;

struct LaunchOptions
{
    QString program;
    QStringList arguments;
    // Further variables for the application; an empty value removes one.
    QMap<QString, QString> environment;
    // Where lib/libtolvexpreload.so and the plug-ins are; empty: the
    // TOLVEX_PREFIX of this process, else the directory above this
    // program's.
    QString prefix;
    // False for an application that starts the agent itself.
    bool preload = true;
    // The application's standard output and error: appended to this file,
    // or, when empty, to this process's standard error.
    QString outputFile;
    int hookUpTimeoutMs = 20000;
};

class RemoteApplication : public QObject
{
    Q_OBJECT
public:
    static constexpr int DefaultTimeoutMs = 20000;

    // Starts the program and waits for its agent. Null, with the reason,
    // when it does not hook up in time.
    static std::unique_ptr<RemoteApplication> launch(const LaunchOptions &options, QString *error);
    ~RemoteApplication() override;

    bool isRunning() const;
    qint64 processId() const;
    // The port of this application's own server on 127.0.0.1.
    quint16 port() const;
    // How the application ended, in words; empty while it runs.
    QString endDescription() const;

    int defaultTimeoutMs() const { return m_timeoutMs; }
    void setDefaultTimeoutMs(int ms) { m_timeoutMs = ms; }

    // A remote function, waited for; a negative time-out takes the default.
    FunctionCallResult<ArgumentList> call(const QString &function, const ArgumentList &args = {},
                                          int timeoutMs = -1);
    // A send: no answer comes. False when the application is not reachable.
    bool send(const QString &function, const ArgumentList &args = {});
    // The arguments of what the application sent or broadcast under that
    // name, oldest first ("recordEvent", "log", ...).
    QList<ArgumentList> received(const QString &function) const;
    // The first value of the answer, or the agent's last error when the
    // answer is empty or null.
    FunctionCallResult<QVariant> value(const QString &function, const ArgumentList &args = {});

    enum class Readiness { Ready, Exists };
    // The object of that name once it exists, is unique and is ready (or
    // only exists).
    FunctionCallResult<RemoteObject> waitForObject(const QString &name, int timeoutMs = -1,
                                                   Readiness readiness = Readiness::Ready);
    // The object of that name as it is now: no wait, no readiness.
    FunctionCallResult<RemoteObject> findObject(const QString &name);
    // The real names of every object, depth first, up to a limit.
    QStringList realNames(int limit = 5000);

    // A click on the object that a moment ago had one would make the
    // application see a double click: this waits until it would not.
    void settleBeforeClick(int objectId);
    void noteClick(int objectId);

    // One of the application's global functions ("_tolvex_screen_count_get",
    // "getClipboardText", ...), with the arguments converted as for a method.
    FunctionCallResult<QVariant> callGlobal(const QString &function,
                                            const QVariantList &arguments = {});

    const ClassCatalogue &classes() const { return m_classes; }
    RemoteObject objectFromWire(const QVariant &wire);
    // A rectangle the application answered (ScreenRectangle and its like),
    // as the object or its wire form.
    FunctionCallResult<QRect> rectangle(const QVariant &value);
    // Gives the agent's handle for an object back.
    void release(int id);
    // The agent's last error text, which reading clears.
    QString lastError();

    // Asks the application to end and waits for it; kills what is left.
    void quit(int timeoutMs = 5000);

Q_SIGNALS:
    // Each send or broadcast of the application as it arrives, stream
    // segments included (which received() does not keep).
    void messageArrived(const QString &function, const Tolvex::ArgumentList &args);

private:
    RemoteApplication();
    bool hookUp(const LaunchOptions &options, QString *error);
    FunctionCallResult<RemoteObject> resolve(const QString &name);

    // Calls given up on, whose answer may still come: declared before the
    // server, so that they go after it.
    std::vector<std::unique_ptr<ResponseListener<ArgumentList>>> m_unanswered;
    std::unique_ptr<ApplicationServer> m_server;
    std::unique_ptr<AUTLauncher> m_launcher;
    ClassCatalogue m_classes;
    int m_timeoutMs = DefaultTimeoutMs;
    int m_appId = 0;
    QElapsedTimer m_lastClick;
    int m_lastClickedObject = 0;
};

} // namespace Tolvex
