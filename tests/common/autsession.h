#pragma once

// A server and one real AUT process over TCP, driven the way the tool's
// server drives the agent: what the integration tests and the benchmarks of
// real round trips share.

#include "applicationserver.h"
#include "autlauncher.h"

#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace TestSupport {

class AUTSession
{
public:
    // Long enough for a loaded machine to start a process and hook it up.
    static constexpr int WaitMs = 15000;

    explicit AUTSession(const QString &program);
    // No AUT outlives its session, however the session ended.
    ~AUTSession();

    AUTSession(const AUTSession &) = delete;
    AUTSession &operator=(const AUTSession &) = delete;

    // Listens on a free port and points the launcher at it.
    bool start();
    // Starts the AUT with its output going to outputPath(), then arguments.
    bool launch(const QStringList &arguments = {});
    // Starts a program that takes no options of ours, one that knows nothing
    // of the agent: a shell sends its standard output and error to
    // outputPath() and then becomes the program, under the same process id.
    bool launchUnmodified(const QStringList &arguments = {});

    QString outputPath() const;
    // What the AUT wrote to its output so far.
    QString output() const;

    bool waitForOutput(const QString &text, int timeoutMs = WaitMs);
    bool waitForMessage(const QString &function, int timeoutMs = WaitMs);
    bool waitForExit(int timeoutMs = WaitMs);
    // The hook-up up to where the AUT waits for initDone.
    bool waitForHookUpRequest(int timeoutMs = WaitMs);

    QList<Tolvex::ApplicationServer::Message> messagesNamed(const QString &function) const;

    // A call answered by the AUT (the agent of client index, where several
    // connected). A call that cannot be sent or gets no answer within
    // timeoutMs fails with a text that says so.
    Tolvex::FunctionCallResult<Tolvex::ArgumentList> call(const QString &function,
                                                          const Tolvex::ArgumentList &args,
                                                          int timeoutMs = WaitMs, int index = 0);
    // The id of an object from its wire form.
    static int idOf(const QVariant &wire);

    // Asks the agent to end the AUT and waits for it, then kills what is left.
    void end(int timeoutMs = WaitMs);

private:
    // The listeners of calls that got no answer in time. The server may still
    // answer them or tell them it closed, so they go after it.
    std::vector<std::unique_ptr<Tolvex::ResponseListener<Tolvex::ArgumentList>>> m_unanswered;

public:
    Tolvex::ApplicationServer server;
    Tolvex::AUTLauncher launcher;

private:
    QString m_program;
    QTemporaryDir m_dir;
};

} // namespace TestSupport
