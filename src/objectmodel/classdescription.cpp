#include "classdescription.h"

#include "streamlimits_p.h"

namespace Tolvex {

namespace {

template <typename T>
void readMembers(QDataStream &stream, qint32 count, std::vector<std::unique_ptr<T>> *out)
{
    out->clear();
    for (qint32 i = 0; i < count && streamCanContinue(stream); ++i) {
        auto member = std::make_unique<T>();
        member->readObject(stream);
        if (stream.status() != QDataStream::Ok)
            return;
        out->push_back(std::move(member));
    }
}

template <typename T>
void writeMembers(QDataStream &stream, const std::vector<std::unique_ptr<T>> &members)
{
    for (const auto &m : members)
        m->writeObject(stream);
}

} // namespace

void ClassDescription::writeObject(QDataStream &stream) const
{
    stream << qint32(id) << name << qint32(namespaceId) << quint32(natures);
    writeText(stream, superClassName);
    stream << qint32(superNamespaceId) << qint32(constructors.size()) << qint32(methods.size())
           << qint32(properties.size()) << qint32(events.size()) << qint32(enums.size());
    writeMembers(stream, enums);
    writeMembers(stream, methods);
    writeMembers(stream, properties);
    writeMembers(stream, constructors);
    writeMembers(stream, events);
    stream << qint32(interfaces.size());
    for (const auto &i : interfaces)
        stream << i.first << i.second;
}

void ClassDescription::readObject(QDataStream &stream)
{
    id = readInt(stream);
    name = readString(stream);
    namespaceId = readInt(stream);
    quint32 n = 0;
    stream >> n;
    natures = n;
    superClassName = readString(stream);
    superNamespaceId = readInt(stream);
    const qint32 numConstructors = readInt(stream);
    const qint32 numMethods = readInt(stream);
    const qint32 numProperties = readInt(stream);
    const qint32 numEvents = readInt(stream);
    const qint32 numEnums = readInt(stream);
    readMembers(stream, numEnums, &enums);
    readMembers(stream, numMethods, &methods);
    readMembers(stream, numProperties, &properties);
    readMembers(stream, numConstructors, &constructors);
    readMembers(stream, numEvents, &events);
    interfaces.clear();
    const qint32 numInterfaces = readInt(stream);
    for (qint32 i = 0; i < numInterfaces && streamCanContinue(stream); ++i) {
        const QString key = readString(stream);
        const QString className = readString(stream);
        if (stream.status() != QDataStream::Ok)
            break;
        interfaces.append({key, className});
    }
}

} // namespace Tolvex
