#include "fprocess.h"

#include "fprocessplatform_p.h"
#include "logging.h"

#include <QDebug>
#include <QFile>
#include <QHash>
#include <QSet>

#include <system_error>
#include <thread>

namespace P = FProcessPlatform;
using Tolvex::lcProcess;

namespace {

P::NativeString toNative(const QString &s)
{
#ifdef _WIN32
    return s.toStdWString();
#else
    return s.toLocal8Bit().toStdString();
#endif
}

P::NativeString toNativePath(const QString &path)
{
#ifdef _WIN32
    return QDir::toNativeSeparators(path).toStdWString();
#else
    return QFile::encodeName(path).toStdString();
#endif
}

// Copies one of the child's pipes to our own standard handle until the pipe
// breaks, so that the child never blocks on a full pipe while we wait.
void pump(P::Handle from, bool error)
{
    P::preparePumpThread();
    char buffer[1024];
    for (;;) {
        const long n = P::readPipe(from, buffer, sizeof buffer);
        if (n <= 0)
            return;
        P::writeStandardHandle(error, buffer, std::size_t(n));
    }
}

std::thread startPump(P::Handle from, bool error)
{
    if (from == P::InvalidHandle)
        return {};
    try {
        return std::thread(pump, from, error);
    } catch (const std::system_error &e) {
        qCDebug(lcProcess, "FProcess::wait: no pump thread (%s), copying on this thread", e.what());
        return {};
    }
}

using ChildMap = QMultiHash<P::ProcessId, P::ProcessId>;

ChildMap childrenByParent(const std::vector<P::ProcessEntry> &processes)
{
    ChildMap children;
    for (const P::ProcessEntry &p : processes) {
        if (p.pid != p.parentPid)
            children.insert(p.parentPid, p.pid);
    }
    return children;
}

// The root and all its descendants, parents before their children.
QList<P::ProcessId> treeOf(P::ProcessId root, const ChildMap &children)
{
    QList<P::ProcessId> tree{root};
    QSet<P::ProcessId> seen{root};
    for (qsizetype i = 0; i < tree.size(); ++i) {
        const QList<P::ProcessId> kids = children.values(tree.at(i));
        for (P::ProcessId kid : kids) {
            if (!seen.contains(kid)) {
                seen.insert(kid);
                tree.append(kid);
            }
        }
    }
    return tree;
}

bool snapshot(std::vector<P::ProcessEntry> *processes)
{
    processes->clear();
    switch (P::listProcesses(processes)) {
    case P::SnapshotResult::Ok:
        return true;
    case P::SnapshotResult::ResolveFailed:
        qCDebug(lcProcess, "Failed to resolve toolhelp functions!");
        return false;
    case P::SnapshotResult::SnapshotFailed:
        qCDebug(lcProcess, "Failed to create a process snapshot");
        return false;
    }
    return false;
}

bool endProcess(P::ProcessId pid)
{
    switch (P::terminateProcessId(pid, 0)) {
    case P::TerminateResult::Ok:
        return true;
    case P::TerminateResult::NoHandle:
        qCDebug(lcProcess, "Failed to get process handle");
        return false;
    case P::TerminateResult::Failed:
        qCDebug(lcProcess) << "could not end process" << pid << "error" << P::lastError();
        return false;
    }
    return false;
}

// Children first, then the process itself, so that no child outlives its
// parent long enough to be handed to another one.
bool endTreeDepthFirst(P::ProcessId pid, const ChildMap &children, QSet<P::ProcessId> *visited)
{
    visited->insert(pid);
    const QList<P::ProcessId> kids = children.values(pid);
    for (P::ProcessId kid : kids) {
        if (!visited->contains(kid))
            endTreeDepthFirst(kid, children, visited);
    }
    return endProcess(pid);
}

} // namespace

class FProcessPrivate
{
public:
    ~FProcessPrivate() { closeAll(); }

    bool hasProcess() const { return info.pid != 0; }
    void postMortem(int code);
    void closeAll();
    bool endTree();

    QList<QString> arguments;
    QString exitMessage;
    QDir workingDirectory;
    bool hasWorkingDirectory = false;
    P::ProcessInfo info;
    P::StdPipes pipes;
    unsigned creationFlags = 0;
    int returnCode = 0;
    bool inheritHandles = false;
    bool normalExit = false;
    bool killed = false;
};

void FProcessPrivate::postMortem(int code)
{
    returnCode = code;
    normalExit = info.exitedNormally;
    exitMessage = QStringLiteral("Exit status: %1").arg(code);
}

void FProcessPrivate::closeAll()
{
    P::release(&info);
    P::closePipes(&pipes);
}

bool FProcessPrivate::endTree()
{
    const P::ProcessId root = info.pid;
    std::vector<P::ProcessEntry> processes;
    if (!snapshot(&processes))
        return endProcess(root);
    ChildMap children = childrenByParent(processes);

    // A member of the tree may start another child between the snapshot and
    // its end. Where the platform can stop processes, stop the whole tree
    // first, looking again until no new member shows up.
    QSet<P::ProcessId> stopped;
    for (int round = 0; round < 16; ++round) {
        bool grew = false;
        for (P::ProcessId pid : treeOf(root, children)) {
            if (!stopped.contains(pid) && P::suspendProcessId(pid)) {
                stopped.insert(pid);
                grew = true;
            }
        }
        if (!grew || !snapshot(&processes))
            break;
        children = childrenByParent(processes);
    }

    QSet<P::ProcessId> visited;
    return endTreeDepthFirst(root, children, &visited);
}

FProcess::FProcess() : d(std::make_unique<FProcessPrivate>()) {}

FProcess::~FProcess() = default;

void FProcess::setArguments(const QList<QString> &arguments)
{
    d->arguments = arguments;
}

QList<QString> FProcess::arguments() const
{
    return d->arguments;
}

void FProcess::setWorkingDirectory(const QDir &directory)
{
    d->workingDirectory = directory;
    d->hasWorkingDirectory = true;
}

void FProcess::setInheritHandles(bool inherit)
{
    d->inheritHandles = inherit;
}

void FProcess::setProcessCreationFlags(unsigned flags)
{
    d->creationFlags = flags;
}

bool FProcess::start(QList<QString> *environment)
{
    // An empty command counts as done; callers rely on that.
    if (d->arguments.isEmpty())
        return true;

    d->closeAll();
    d->returnCode = 0;
    d->exitMessage.clear();
    d->normalExit = false;
    d->killed = false;

    P::SpawnRequest request;
    if (d->inheritHandles) {
        if (!P::createPipes(&d->pipes)) {
            qCDebug(lcProcess) << "could not create pipes, error" << P::lastError();
            return false;
        }
        request.pipes = &d->pipes;
    }
    request.inheritHandles = d->inheritHandles;
    request.creationFlags = d->creationFlags;

    std::vector<P::NativeString> block;
    if (environment) {
        for (const QString &entry : *environment) {
            if (entry.startsWith(u'=')) {
                qCWarning(lcProcess).noquote()
                    << QStringLiteral(
                           "FProcess::start: ignoring environment entry '%1' with empty name.")
                           .arg(entry);
                continue;
            }
            block.push_back(toNative(entry));
        }
        request.environment = &block;
    }

    QStringList commandLine;
    for (const QString &argument : std::as_const(d->arguments)) {
        if (argument.isEmpty())
            continue;
        request.arguments.push_back(toNative(argument));
        commandLine.append(argument.contains(u' ') ? u'"' + argument + u'"' : argument);
    }
    const QString line = commandLine.join(u' ');
    request.commandLine = toNative(line);
    qCDebug(lcProcess).noquote() << QStringLiteral("cmdline: %1").arg(line);

    if (d->hasWorkingDirectory)
        request.workingDirectory = toNativePath(d->workingDirectory.absolutePath());

    const int error = P::spawn(request, &d->info);
    if (error != 0) {
        qCDebug(lcProcess) << "could not start process, error" << error;
        d->closeAll();
        return false;
    }
    // The child holds its own ends now; ours would keep its output pipes from
    // ever breaking.
    P::closeHandle(&d->pipes.in.read);
    P::closeHandle(&d->pipes.out.write);
    P::closeHandle(&d->pipes.err.write);
    return true;
}

bool FProcess::isRunning()
{
    if (!d->hasProcess())
        return false;
    int code = 0;
    if (!P::queryExitCode(&d->info, &code)) {
        qCDebug(lcProcess, "FProcess::isRunning err: %d", P::lastError());
        return false;
    }
    if (code == P::StillActive)
        return true;
    d->postMortem(code);
    return false;
}

void FProcess::wait()
{
    if (!d->hasProcess())
        return;
    // Nobody can write to the child's input any more: a child that reads it
    // gets its end instead of blocking this wait for ever.
    P::closeHandle(&d->pipes.in.write);

    std::thread outPump = startPump(d->pipes.out.read, false);
    std::thread errPump = startPump(d->pipes.err.read, true);
    if (!outPump.joinable() && d->pipes.out.read != P::InvalidHandle)
        pump(d->pipes.out.read, false);
    if (!errPump.joinable() && d->pipes.err.read != P::InvalidHandle)
        pump(d->pipes.err.read, true);

    const bool ended = P::waitForExit(&d->info);
    if (outPump.joinable())
        outPump.join();
    if (errPump.joinable())
        errPump.join();

    int code = 0;
    if (!ended || !P::queryExitCode(&d->info, &code)) {
        qCDebug(lcProcess, "FProcess::isRunning err: %d", P::lastError());
        d->closeAll();
        return;
    }
    d->postMortem(code);
}

void FProcess::kill(bool tree)
{
    if (!isRunning())
        return;
    const bool ended = tree ? d->endTree() : P::terminate(&d->info, 1);
    // Collect the child here, so that it has ended by the time we return.
    if (ended)
        P::waitForExit(&d->info);
    d->killed = true;
    d->normalExit = false;
    d->closeAll();
}

int FProcess::returnCode()
{
    return isRunning() ? 0 : d->returnCode;
}

bool FProcess::normalExit() const
{
    return d->normalExit;
}

bool FProcess::wasKilled() const
{
    return d->killed;
}

QString FProcess::exitMessage() const
{
    return d->exitMessage;
}

qintptr FProcess::stdOut() const
{
    return d->pipes.out.read;
}

qintptr FProcess::stdErr() const
{
    return d->pipes.err.read;
}

qint64 FProcess::processIdentifier() const
{
    return d->info.pid;
}
