#include "command.h"

#include "nativeinterface.h"
#include "platformplugin.h"

#include <QStringList>

namespace Tolvex {

using Result = FunctionCallResult<void>;

namespace {

NativeInterface *currentNativeInterface()
{
    PlatformPlugin *plugin = PlatformPlugin::current();
    return plugin ? plugin->nativeInterface() : nullptr;
}

Result noNativeInterface()
{
    return Result::failure(PlatformPlugin::notSetMessage());
}

// Press the first key, then the rest of the combination, then release the
// first: the keys come up in the reverse order of going down.
void addKeyCombination(QStringList parts, bool special, CommandQueue *queue)
{
    if (parts.isEmpty())
        return;
    const QString part = parts.takeFirst();
    QString key = special || !parts.isEmpty() ? QStringLiteral("<%1>").arg(part) : part;
    if (key.size() == 1)
        key = key.toLower();
    queue->add(new PressKey(key));
    addKeyCombination(parts, special, queue);
    queue->add(new ReleaseKey(key));
}

} // namespace

Command::~Command() = default;

void Command::execute()
{
    if (NativeInterface *native = currentNativeInterface())
        executeWith(native);
}

void CommandQueue::add(Command *command)
{
    m_commands.push_back(SharedPtr<Command>(command));
}

Result CommandQueue::executeWith(NativeInterface *native) const
{
    Result result;
    for (const SharedPtr<Command> &command : m_commands) {
        const Result r = command->executeWith(native);
        if (result.isSuccess())
            result = r;
    }
    return result;
}

Result PressKey::executeWith(NativeInterface *native)
{
    return native->sendKeys(m_key, true);
}

Result ReleaseKey::executeWith(NativeInterface *native)
{
    return native->sendKeys(m_key, false);
}

Result KeyboardType::executeWith(NativeInterface *native)
{
    return native->typeCharacter(m_character, m_modifiers);
}

Result MouseButtonPress::executeWith(NativeInterface *native)
{
    return native->pointerButton(m_button, true, 1);
}

Result MouseButtonRelease::executeWith(NativeInterface *native)
{
    return native->pointerButton(m_button, false, 1);
}

Result MouseMoveTo::executeWith(NativeInterface *native)
{
    return native->pointerMove(m_point);
}

MouseClick::MouseClick(int x, int y, MouseButton::Value button)
{
    m_queue.add(new MouseMoveTo(Point<1>(x, y)));
    m_queue.add(new MouseButtonPress(button));
    m_queue.add(new MouseButtonRelease(button));
}

Result MouseClick::executeWith(NativeInterface *native)
{
    return m_queue.executeWith(native);
}

TypeText::TypeText(const QString &text, bool parse)
{
    const bool combination = parse && text.size() >= 2 && text.startsWith(QLatin1Char('<')) &&
                             text.endsWith(QLatin1Char('>'));
    if (!combination) {
        for (const QChar c : text) {
            m_queue.add(new PressKey(QString(c)));
            m_queue.add(new ReleaseKey(QString(c)));
        }
        return;
    }
    const QString inner = text.mid(1, text.size() - 2);
    QStringList parts = inner.split(QLatin1Char('+'), Qt::SkipEmptyParts);
    // The split loses the key of "<Ctrl++>"; it comes back at the end.
    if (inner.endsWith(QLatin1String("++")))
        parts.append(QStringLiteral("+"));
    const bool special = parts.size() == 1 || (!parts.isEmpty() && parts.last().size() >= 2);
    addKeyCombination(parts, special, &m_queue);
}

Result TypeText::executeWith(NativeInterface *native)
{
    return m_queue.executeWith(native);
}

Result executeCommands(const std::list<SharedPtr<Command>> &commands)
{
    NativeInterface *native = currentNativeInterface();
    if (!native)
        return noNativeInterface();
    return executeCommands(commands, native);
}

Result executeCommands(const std::list<SharedPtr<Command>> &commands, NativeInterface *native)
{
    Result result;
    for (const SharedPtr<Command> &command : commands) {
        const bool previous = native->suppressFlush(true);
        const Result r = command->executeWith(native);
        native->suppressFlush(previous);
        if (result.isSuccess())
            result = r;
    }
    return result;
}

} // namespace Tolvex
