#pragma once

#include "serializable.h"
#include "tolvexexport.h"

#include <QString>

#include <memory>

namespace Tolvex {

class Class;

class TOLVEX_EXPORT Enum : public Serializable
{
public:
    struct Item
    {
        const char *key;
        int value;
    };

    Enum();
    // items is a static array ended by an item with a null key.
    Enum(const Class *type, const QString &name, const Item *items, int id);
    // Shares the items of another enum under a new class.
    Enum(const Class *type, const Enum *other);
    ~Enum() override;

    const Class *enumClass() const { return m_type; }
    int id() const { return m_id; }
    const QString &name() const { return m_name; }
    int count() const { return m_count; }
    bool isMask() const { return m_isMask; }
    void setIsMask(bool mask) { m_isMask = mask; }
    bool detectIsMask() const;

    QString key(int index) const;
    int value(int index) const;
    int value(const QString &key, bool *ok) const;
    QString valueToKey(int value, bool *ok) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    struct OwnedItems;

    const Class *m_type = nullptr;
    QString m_name;
    const Item *m_items = nullptr;
    int m_count = 0;
    int m_id = -1;
    bool m_isMask = false;
    // Set only for an enum read from a stream, which owns what it read.
    std::unique_ptr<OwnedItems> m_owned;
};

} // namespace Tolvex
