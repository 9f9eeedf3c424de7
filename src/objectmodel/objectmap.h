#pragma once

#include "objectname.h"
#include "tolvexexport.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace Tolvex {

// The map between short symbolic names (":Main.OK_Button") and real object names, in
// both directions, with its text file form. One map exists per process: the one
// constructed last is self().
class TOLVEX_EXPORT ObjectMap
{
public:
    explicit ObjectMap(bool ownerFlag = false);
    ~ObjectMap();
    ObjectMap(const ObjectMap &) = delete;
    ObjectMap &operator=(const ObjectMap &) = delete;

    // Null until a map has been constructed, and again once the current one is gone.
    static ObjectMap *self();
    static bool isMultiPropertyName(const QString &name);

    // Kept for whoever owns the map; nothing here reads it.
    bool ownerFlag() const { return m_ownerFlag; }

    void add(const ObjectName &realName, const QString &symbolicName);
    void clear();
    bool isModified() const { return m_modified; }

    // Replaces the content by the file's; false, with the map unchanged, when the file
    // can't be opened.
    bool loadFromFile(const QString &path);
    // Adds the entries of a map text to what is there.
    void loadFromString(const QString &text);
    // Writes only when something was added since the last save.
    bool saveToFile(const QString &path);
    QString toString() const;
    // Bad lines are skipped without a word.
    static std::vector<std::pair<QString, ObjectName>> parseSerializedMap(const QString &text);

    void setSymbolicNames(const QMap<QString, ObjectName> &names);
    QStringList symbolicNames() const;
    // The real names in the order of symbolicNames(), so the two lists pair up by index.
    QStringList realNames() const;
    // Every real name once, in the order of the names themselves.
    QList<ObjectName> objectNames() const { return m_realToSymbolic.keys(); }
    bool contains(const QString &symbolicName) const
    {
        return m_symbolicToReal.contains(symbolicName);
    }

    // Any name to its real name: symbolic names are looked up; one the map lacks gives
    // the text behind its colon, which then fails at lookup.
    ObjectName objectName(const QString &name) const;
    QString realName(const QString &name) const;
    // The symbolic name of a real name; with add, one is minted when there is none.
    // Without a symbolic name the result is fixedName().
    QString symbolicName(const QString &name, bool add);
    // The name with every nested object name replaced by its symbolic name, quoted.
    QString fixedName(const QString &name, bool add);
    QString printableName(const QString &name) const;
    // A symbolic name for a multi-property name that the map does not use yet.
    QString multiPropNameToSymbolic(const QString &name) const;
    // The base of a minted symbol: window, container and text joined by '.', then '_'
    // and the type without its namespace.
    static QString symbolFromMultiPropName(const QString &name);

    static QString escapeForSerialize(QString text);
    static QString unescapeFromSerialize(QString text);

private:
    // Adding goes through `adder`, which is this map or null for lookups only, so the
    // const lookups share one implementation with the adding ones.
    // depth counts the nested names already rewritten above this one.
    QString symbolicNameImpl(const QString &name, ObjectMap *adder, int depth) const;
    QString fixedNameImpl(const QString &name, ObjectMap *adder, int depth) const;
    void enter(const QString &symbolicName, const ObjectName &realName);
    // base, or base with "_2", "_3", ... behind it: the first the map does not use.
    QString unusedSymbol(const QString &base) const;
    // Maps the nested form onto the older flat properties (windowName, containerType,
    // buddyText, ...) so that entries of old map files still match.
    QString convertToOldName(const QString &name) const;

    QMap<ObjectName, QString> m_realToSymbolic;
    QMap<QString, ObjectName> m_symbolicToReal;
    bool m_ownerFlag = false;
    bool m_modified = false;
};

} // namespace Tolvex
