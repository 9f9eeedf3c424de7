#pragma once

#include <QString>

namespace Tolvex {

// One remote function: its number, its name on the wire, which handler
// serves it and how many arguments it takes.
struct RemoteFunctionInfo
{
    enum Kind {
        Call,      // answered by the synchronous handleCall
        AsyncCall, // answered through a ResponseListener
        Send,      // served by handleSend, no answer
        Unserved,  // named in the table but served by neither
    };

    int id;
    const char *name;
    Kind kind;
    // -1 as minimum: the count is not checked; -1 as maximum: no upper bound.
    int minArguments;
    int maxArguments;

    bool acceptsArgumentCount(int count) const;
    // "F_" and the name in upper camel case, as messages name the function.
    QString symbol() const;
};

// The vocabulary of the functions a server calls on the agent. Names are
// matched exactly, case included; the numbers are internal, only names
// travel.
class RemoteFunctionTable
{
public:
    static constexpr int Unknown = 133;
    static constexpr int Count = 131;

    // The function's number, or Unknown.
    static int id(const QString &name);
    // Null for a number without a function.
    static const RemoteFunctionInfo *info(int id);

    // The wrong-count text of a function, as its handler ("handleCall" or
    // "handleSend") prints or answers it. A few functions word it their own
    // way or share another function's text; that wording is kept.
    static QString wrongCountMessage(int id, const char *handler);
};

} // namespace Tolvex
