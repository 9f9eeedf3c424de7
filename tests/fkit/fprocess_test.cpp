#include "fenvironmentvariables.h"
#include "fprocess.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

struct ProcState
{
    bool exists = false;
    char state = 0;
    pid_t parent = 0;
};

ProcState procState(pid_t pid)
{
    ProcState s;
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/stat", int(pid));
    FILE *f = std::fopen(path, "re");
    if (!f)
        return s;
    char buffer[1024] = {};
    const size_t n = std::fread(buffer, 1, sizeof buffer - 1, f);
    std::fclose(f);
    const char *close = std::strrchr(buffer, ')');
    int parent = 0;
    if (n == 0 || !close || std::sscanf(close + 1, " %c %d", &s.state, &parent) != 2)
        return s;
    s.exists = true;
    s.parent = parent;
    return s;
}

// Ended means gone from the table, or a zombie whose parent has not collected
// it yet: either way it runs no more.
bool hasEnded(pid_t pid)
{
    const ProcState s = procState(pid);
    return !s.exists || s.state == 'Z';
}

std::vector<pid_t> liveDescendants(pid_t root)
{
    std::vector<std::pair<pid_t, pid_t>> all;
    if (DIR *proc = ::opendir("/proc")) {
        while (const dirent *e = ::readdir(proc)) {
            const pid_t pid = pid_t(std::atoi(e->d_name));
            const ProcState s = pid > 0 ? procState(pid) : ProcState{};
            if (s.exists && s.state != 'Z')
                all.emplace_back(pid, s.parent);
        }
        ::closedir(proc);
    }
    std::vector<pid_t> tree{root};
    for (size_t i = 0; i < tree.size(); ++i) {
        for (const auto &[pid, parent] : all) {
            if (parent == tree[i])
                tree.push_back(pid);
        }
    }
    tree.erase(tree.begin());
    return tree;
}

// Kills whatever a failed test left running, so no test leaves processes behind.
struct ProcessReaper
{
    FProcess &process;
    std::vector<pid_t> extra;
    ~ProcessReaper()
    {
        for (pid_t pid : extra) {
            if (!hasEnded(pid))
                ::kill(pid, SIGKILL);
            // Orphans come to us as the subreaper; collect them (no-op for
            // processes that are not our children).
            ::waitpid(pid, nullptr, 0);
        }
        if (process.isRunning())
            process.kill(true);
    }
};

std::string readAll(qintptr fd)
{
    std::string out;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(int(fd), buffer, sizeof buffer);
        if (n > 0)
            out.append(buffer, size_t(n));
        else if (n == 0 || errno != EINTR)
            return out;
    }
}

// Sends this process's standard output and error into files while alive.
class CapturedStandardHandles
{
public:
    CapturedStandardHandles()
    {
        std::fflush(stdout);
        std::fflush(stderr);
        for (int i = 0; i < 2; ++i) {
            m_saved[i] = ::dup(1 + i);
            m_file[i] = std::tmpfile();
            ::dup2(::fileno(m_file[i]), 1 + i);
        }
    }
    ~CapturedStandardHandles()
    {
        restore();
        for (FILE *f : m_file)
            std::fclose(f);
    }
    void restore()
    {
        if (m_saved[0] < 0)
            return;
        std::fflush(stdout);
        std::fflush(stderr);
        for (int i = 0; i < 2; ++i) {
            ::dup2(m_saved[i], 1 + i);
            ::close(m_saved[i]);
            m_saved[i] = -1;
        }
    }
    std::string text(int which)
    {
        restore();
        std::string out;
        std::rewind(m_file[which]);
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, m_file[which])) > 0)
            out.append(buffer, n);
        return out;
    }

private:
    int m_saved[2] = {-1, -1};
    FILE *m_file[2] = {};
};

QStringList debugMessages;

void collectMessages(QtMsgType, const QMessageLogContext &, const QString &message)
{
    debugMessages.append(message);
}

QList<QString> shell(const QString &script)
{
    return {"sh", "-c", script};
}

} // namespace

TEST(FProcess, EmptyArgumentListStartsNothingAndCountsAsDone)
{
    FProcess process;
    EXPECT_TRUE(process.start());
    EXPECT_EQ(process.processIdentifier(), 0);
    EXPECT_FALSE(process.isRunning());
    EXPECT_EQ(process.returnCode(), 0);
    EXPECT_EQ(process.stdOut(), -1);
    process.wait();
    process.kill(true);
    EXPECT_FALSE(process.wasKilled());
    EXPECT_TRUE(process.exitMessage().isEmpty());

    // A list of empty arguments names no program: that is a failure.
    process.setArguments({""});
    EXPECT_FALSE(process.start());
    EXPECT_EQ(process.processIdentifier(), 0);

    FProcess missing;
    missing.setArguments({"/nonexistent/tolvex-no-such-program"});
    EXPECT_FALSE(missing.start());
    EXPECT_FALSE(missing.isRunning());
}

TEST(FProcess, ExitCodesAndMessages)
{
    FProcess process;
    process.setArguments(shell("exit 3"));
    ASSERT_TRUE(process.start());
    process.wait();
    EXPECT_FALSE(process.isRunning());
    EXPECT_EQ(process.returnCode(), 3);
    EXPECT_EQ(process.exitMessage(), "Exit status: 3");
    EXPECT_TRUE(process.normalExit());
    EXPECT_FALSE(process.wasKilled());

    // The same object starts again with a clean state.
    process.setArguments({"true"});
    ASSERT_TRUE(process.start());
    process.wait();
    EXPECT_EQ(process.returnCode(), 0);
    EXPECT_EQ(process.exitMessage(), "Exit status: 0");

    // Polling finds the end without wait().
    process.setArguments(shell("exit 7"));
    ASSERT_TRUE(process.start());
    while (process.isRunning())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(process.returnCode(), 7);
    EXPECT_EQ(process.exitMessage(), "Exit status: 7");
    EXPECT_FALSE(process.isRunning()); // asking again keeps the answer

    // returnCode alone notices the end, without isRunning or wait first.
    process.setArguments(shell("exit 9"));
    ASSERT_TRUE(process.start());
    const pid_t pid = pid_t(process.processIdentifier());
    while (procState(pid).state != 'Z')
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(process.returnCode(), 9);
    EXPECT_EQ(process.exitMessage(), "Exit status: 9");

    // A death by signal is no normal exit.
    process.setArguments(shell("kill -TERM $$"));
    ASSERT_TRUE(process.start());
    process.wait();
    EXPECT_EQ(process.returnCode(), 128 + SIGTERM);
    EXPECT_FALSE(process.normalExit());
}

TEST(FProcess, RunningProcessReportsZeroAndKillEndsIt)
{
    FProcess process;
    ProcessReaper reaper{process, {}};
    process.setArguments({"sleep", "100"});
    ASSERT_TRUE(process.start());
    const pid_t pid = pid_t(process.processIdentifier());
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(process.isRunning());
    EXPECT_EQ(process.returnCode(), 0);
    EXPECT_TRUE(process.exitMessage().isEmpty());
    EXPECT_FALSE(process.wasKilled());

    process.kill(false);
    EXPECT_TRUE(process.wasKilled());
    EXPECT_FALSE(process.normalExit());
    EXPECT_FALSE(process.isRunning());
    EXPECT_EQ(process.processIdentifier(), 0);
    // Collected by kill itself: not even a zombie is left.
    EXPECT_FALSE(procState(pid).exists);
}

TEST(FProcess, KillTreeEndsAllDescendants)
{
    // Orphans of the killed shell come to this process instead of to init,
    // which may not collect them: so we can check how they ended and leave no
    // zombies behind.
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    FProcess process;
    ProcessReaper reaper{process, {}};
    process.setArguments(shell("sleep 100 & sleep 100 & wait"));
    ASSERT_TRUE(process.start());
    const pid_t root = pid_t(process.processIdentifier());

    std::vector<pid_t> descendants;
    for (int i = 0; i < 1000 && descendants.size() < 2; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        descendants = liveDescendants(root);
    }
    reaper.extra = descendants;
    ASSERT_EQ(descendants.size(), 2u) << "the shell did not start its two children";

    process.kill(true);
    EXPECT_TRUE(process.wasKilled());
    EXPECT_FALSE(process.isRunning());
    EXPECT_FALSE(procState(root).exists);
    // The shell has been collected, so its children are ours now. A signal
    // takes effect a moment after kill() returns: give each up to 5 s.
    for (pid_t pid : descendants) {
        int status = 0;
        pid_t collected = 0;
        for (int i = 0; i < 1000 && collected == 0; ++i) {
            collected = ::waitpid(pid, &status, WNOHANG);
            if (collected == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ASSERT_EQ(collected, pid) << "descendant " << pid << " survived";
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    }
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);

    // Killing again is harmless.
    process.kill(true);
}

TEST(FProcess, WaitPumpsOutputAndErrorToOurOwn)
{
    FProcess process;
    ProcessReaper reaper{process, {}};
    process.setInheritHandles(true);
    // More than a pipe holds, so a wait that did not read would never end.
    process.setArguments(
        shell("echo out-line; echo err-line >&2; head -c 300000 /dev/zero | tr '\\0' x; exit 4"));
    ASSERT_TRUE(process.start());
    EXPECT_NE(process.stdOut(), -1);
    EXPECT_NE(process.stdErr(), -1);
    {
        CapturedStandardHandles captured;
        process.wait();
        const std::string out = captured.text(0);
        const std::string err = captured.text(1);
        EXPECT_EQ(out, "out-line\n" + std::string(300000, 'x'));
        EXPECT_EQ(err, "err-line\n");
    }
    EXPECT_EQ(process.returnCode(), 4);

    // The child's input is closed by wait, so a reader sees its end.
    process.setArguments({"cat"});
    ASSERT_TRUE(process.start());
    process.wait();
    EXPECT_EQ(process.returnCode(), 0);

    // Without inherited handles the child writes to our own handles directly.
    FProcess plain;
    plain.setArguments(shell("echo direct"));
    {
        CapturedStandardHandles captured;
        ASSERT_TRUE(plain.start());
        EXPECT_EQ(plain.stdOut(), -1);
        EXPECT_EQ(plain.stdErr(), -1);
        plain.wait();
        EXPECT_EQ(captured.text(0), "direct\n");
    }
}

TEST(FProcess, ArgumentsReachTheChildWithEmptyOnesDropped)
{
    FProcess process;
    process.setInheritHandles(true);
    process.setArguments({"sh", "-c", "printf '%s|' \"$@\"", "sh", "a b", "", "c"});
    EXPECT_EQ(process.arguments().size(), 7);
    ASSERT_TRUE(process.start());
    EXPECT_EQ(readAll(process.stdOut()), "a b|c|");
    process.wait();

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    process.setWorkingDirectory(QDir(dir.path()));
    process.setArguments(shell("pwd -P"));
    ASSERT_TRUE(process.start());
    EXPECT_EQ(readAll(process.stdOut()), QDir(dir.path()).canonicalPath().toStdString() + "\n");
    process.wait();
}

TEST(FProcess, EnvironmentListReplacesOursAndDropsNamelessEntries)
{
    FEnvironmentVariables env(false);
    env.setValue("TOLVEX_GREETING", "hello world");
    env.setValue("PATH", "/usr/bin:/bin");
    QList<QString> lines = env.environment();
    lines.append("=C:=C:\\work");

    FProcess process;
    process.setInheritHandles(true);
    process.setArguments({"env"});
    debugMessages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectMessages);
    const bool started = process.start(&lines);
    qInstallMessageHandler(previous);
    ASSERT_TRUE(started);
    EXPECT_EQ(readAll(process.stdOut()), "PATH=/usr/bin:/bin\nTOLVEX_GREETING=hello world\n");
    process.wait();
    EXPECT_TRUE(debugMessages.contains(
        "FProcess::start: ignoring environment entry '=C:=C:\\work' with empty name."))
        << debugMessages.join('\n').toStdString();

    // An empty list is an empty environment, not ours.
    QList<QString> none;
    ASSERT_TRUE(process.start(&none));
    EXPECT_EQ(readAll(process.stdOut()), "");
    process.wait();

    // Without a list the child inherits ours.
    ::setenv("TOLVEX_FPROCESS_PROBE", "inherited", 1);
    process.setArguments(shell("echo \"$TOLVEX_FPROCESS_PROBE\""));
    const bool inheritedStart = process.start();
    ::unsetenv("TOLVEX_FPROCESS_PROBE");
    ASSERT_TRUE(inheritedStart);
    EXPECT_EQ(readAll(process.stdOut()), "inherited\n");
    process.wait();
}
