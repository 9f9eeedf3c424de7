#pragma once

#include <QDir>
#include <QList>
#include <QString>
#include <QtGlobal>

#include <memory>

class FProcessPrivate;

// Starts and watches one child process. Messages go to the debug output; the
// caller learns of failure only through start()'s result.
class FProcess
{
public:
    FProcess();
    // Gives up the handles; a running child goes on running.
    ~FProcess();
    FProcess(const FProcess &) = delete;
    FProcess &operator=(const FProcess &) = delete;

    void setArguments(const QList<QString> &arguments);
    QList<QString> arguments() const;
    void setWorkingDirectory(const QDir &directory);
    // With inherit handles set, the child's standard handles are pipes whose
    // reading ends stdOut() and stdErr() give.
    void setInheritHandles(bool inherit);
    // Win32 creation flags. On POSIX only CREATE_NEW_PROCESS_GROUP (0x200) has
    // a meaning: the child leads a process group of its own.
    void setProcessCreationFlags(unsigned flags);

    // Null: the child inherits this process's environment. Otherwise the
    // lines "name=value", in their order.
    bool start(QList<QString> *environment = nullptr);
    bool isRunning();
    // Blocks until the child has ended, copying its output to ours meanwhile.
    void wait();
    // Ends the child, with tree also all its descendants, children before
    // their parents. No post-mortem runs: returnCode() and exitMessage() keep
    // what they held, and wasKilled() tells what happened.
    void kill(bool tree);

    // 0 while the child runs. On POSIX a child ended by a signal reports 128
    // plus the signal number, with normalExit() false.
    int returnCode();
    bool normalExit() const;
    bool wasKilled() const;
    QString exitMessage() const;

    // The parent's reading ends of the child's output and error pipes (file
    // descriptors, or HANDLE values on Windows); -1 without pipes.
    qintptr stdOut() const;
    qintptr stdErr() const;
    // 0 without a process.
    qint64 processIdentifier() const;

private:
    std::unique_ptr<FProcessPrivate> d;
};
