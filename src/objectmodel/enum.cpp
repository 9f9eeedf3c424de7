#include "enum.h"

#include "class.h"
#include "inspector.h"
#include "logging.h"
#include "streamlimits_p.h"

#include <QByteArray>

#include <deque>
#include <vector>

namespace Tolvex {

struct Enum::OwnedItems
{
    std::deque<QByteArray> keys; // a deque keeps each key's bytes in place
    std::vector<Item> items;
};

static int countItems(const Enum::Item *items)
{
    int n = 0;
    if (items)
        while (items[n].key)
            ++n;
    return n;
}

Enum::Enum() = default;

Enum::Enum(const Class *type, const QString &name, const Item *items, int id)
    : m_type(type), m_name(name), m_items(items), m_count(countItems(items)), m_id(id)
{
    m_isMask = detectIsMask();
}

Enum::Enum(const Class *type, const Enum *other)
    : m_type(type), m_name(other->m_name), m_items(other->m_items), m_count(other->m_count),
      m_id(other->m_id)
{
    m_isMask = detectIsMask();
}

Enum::~Enum() = default;

bool Enum::detectIsMask() const
{
    int seen = 0;
    for (int i = 0; i < m_count; ++i) {
        if (m_items[i].value & seen)
            return false;
        seen |= m_items[i].value;
    }
    return true;
}

QString Enum::key(int index) const
{
    if (index < 0 || index >= m_count)
        return QString();
    return QString::fromLatin1(m_items[index].key);
}

int Enum::value(int index) const
{
    if (index < 0 || index >= m_count)
        return -1;
    return m_items[index].value;
}

int Enum::value(const QString &key, bool *ok) const
{
    for (int i = 0; i < m_count; ++i) {
        if (key == QLatin1String(m_items[i].key)) {
            if (ok)
                *ok = true;
            return m_items[i].value;
        }
    }
    if (ok)
        *ok = false;
    return -1;
}

QString Enum::valueToKey(int value, bool *ok) const
{
    for (int i = 0; i < m_count; ++i) {
        if (m_items[i].value == value) {
            if (ok)
                *ok = true;
            return QString::fromLatin1(m_items[i].key);
        }
    }
    if (ok)
        *ok = false;
    logLine("Could not find value ", value, " in enum ", m_name);
    return QString();
}

void Enum::writeObject(QDataStream &stream) const
{
    stream << m_name << qint32(m_id) << (m_type ? m_type->className() : QString())
           << qint32(m_count) << qint32(m_isMask ? 1 : 0);
    for (int i = 0; i < m_count; ++i)
        stream << QString::fromLatin1(m_items[i].key) << qint32(m_items[i].value);
}

void Enum::readObject(QDataStream &stream)
{
    m_name = readString(stream);
    m_id = readInt(stream);
    const QString className = readString(stream);
    m_type = className.isEmpty() ? nullptr : Inspector::self()->type(className);
    const qint32 count = readInt(stream);
    m_isMask = readInt(stream) != 0;

    auto owned = std::make_unique<OwnedItems>();
    for (qint32 i = 0; i < count && streamCanContinue(stream); ++i) {
        const QString key = readString(stream);
        const qint32 value = readInt(stream);
        if (stream.status() != QDataStream::Ok)
            break;
        owned->keys.push_back(key.toLatin1());
        owned->items.push_back(Item{nullptr, int(value)});
    }
    for (size_t i = 0; i < owned->items.size(); ++i)
        owned->items[i].key = owned->keys[i].constData();
    owned->items.push_back(Item{nullptr, 0});
    m_count = int(owned->items.size()) - 1;
    m_owned = std::move(owned);
    m_items = m_owned->items.data();
}

} // namespace Tolvex
