#include "autsession.h"

#include "eventloop.h"
#include "replycatcher.h"

#include <QFile>

#include <memory>

using namespace Tolvex;

namespace TestSupport {

AUTSession::AUTSession(const QString &program) : m_program(program) {}

AUTSession::~AUTSession()
{
    if (launcher.isRunning())
        launcher.kill();
}

bool AUTSession::start()
{
    if (!m_dir.isValid() || !server.start())
        return false;
    launcher.setProgram(m_program);
    launcher.setServer(QStringLiteral("127.0.0.1"), server.port());
    return true;
}

bool AUTSession::launch(const QStringList &arguments)
{
    launcher.setArguments(QStringList{QStringLiteral("--output"), outputPath()} + arguments);
    return launcher.start();
}

bool AUTSession::launchUnmodified(const QStringList &arguments)
{
    launcher.setArguments(arguments);
    launcher.setOutputFile(outputPath());
    const bool started = launcher.start();
    launcher.setOutputFile(QString());
    return started;
}

QString AUTSession::outputPath() const
{
    return m_dir.filePath(QStringLiteral("aut.log"));
}

QString AUTSession::output() const
{
    QFile file(outputPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLocal8Bit(file.readAll());
}

bool AUTSession::waitForOutput(const QString &text, int timeoutMs)
{
    return waitUntil([&] { return output().contains(text); }, timeoutMs);
}

bool AUTSession::waitForMessage(const QString &function, int timeoutMs)
{
    return waitUntil([&] { return server.hasReceived(function); }, timeoutMs);
}

bool AUTSession::waitForExit(int timeoutMs)
{
    return waitUntil([&] { return !launcher.isRunning(); }, timeoutMs);
}

bool AUTSession::waitForHookUpRequest(int timeoutMs)
{
    return waitForMessage(QStringLiteral("requestDescriptorData"), timeoutMs);
}

QList<ApplicationServer::Message> AUTSession::messagesNamed(const QString &function) const
{
    QList<ApplicationServer::Message> found;
    for (const ApplicationServer::Message &m : server.messages())
        if (m.function == function)
            found.append(m);
    return found;
}

FunctionCallResult<ArgumentList> AUTSession::call(const QString &function, const ArgumentList &args,
                                                  int timeoutMs, int index)
{
    auto reply = std::make_unique<ReplyCatcher<>>();
    if (server.call(function, args, reply.get(), index) < 0) {
        // The listener has heard why, unless there was nothing to tell.
        return reply->answered ? reply->result
                               : FunctionCallResult<ArgumentList>::failure(
                                     QStringLiteral("could not call ") + function);
    }
    if (!reply->waitForAnswer(timeoutMs)) {
        m_unanswered.push_back(std::move(reply));
        return FunctionCallResult<ArgumentList>::failure(QStringLiteral("no answer to ") +
                                                         function);
    }
    return reply->result;
}

int AUTSession::idOf(const QVariant &wire)
{
    return wire.toString().section(QLatin1Char(','), 0, 0).toInt();
}

void AUTSession::end(int timeoutMs)
{
    if (!launcher.isRunning())
        return;
    server.kill();
    waitForExit(timeoutMs);
    launcher.kill();
}

} // namespace TestSupport
