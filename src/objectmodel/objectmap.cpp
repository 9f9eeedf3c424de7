#include "objectmap.h"

#include "logging.h"
#include "objectmap_p.h"

#include <QFile>
#include <QTextStream>

#include <initializer_list>

namespace Tolvex {

namespace {

using PropertyMap = QMap<QString, PropertyValue>;

ObjectMap *s_self = nullptr;

const std::initializer_list<const char *> WindowTable = {"window"};
const std::initializer_list<const char *> ContainerTable = {"container", "form"};
const std::initializer_list<const char *> TextTable = {"innerText",   "simplifiedInnerText",
                                                       "text",        "title",
                                                       "windowTitle", "caption",
                                                       "label",       "name",
                                                       "objectName",  "img_name",
                                                       "img_alt",     "id",
                                                       "img_id",      "value",
                                                       "buddy",       "parentWidget",
                                                       "leftWidget",  "aboveWidget",
                                                       "leftObject",  "aboveObject",
                                                       "stringValue", "className",
                                                       "row",         "currentTitle",
                                                       "placeholder", "resourceName",
                                                       "toolTip"};
const std::initializer_list<const char *> TypeTable = {"type", "tagName", "basetype", "styletype"};

// Properties whose value names another object.
const std::initializer_list<const char *> ReferenceProperties = {
    "buddy",     "parentWidget", "container",  "leftWidget", "aboveWidget", "window",
    "leftLabel", "aboveLabel",   "rightLabel", "tableView",  "leftObject",  "aboveObject"};

// Names that toolkits generate for their own helper objects; they say nothing to a reader.
const std::initializer_list<const char *> GeneratedNames = {
    "qt_viewport", "tab control", "qt_clipped_viewport", "qt_spinbox_edit", "automatic menu bar"};

// fixedName() quotes nested names this many levels deep; real names nest far less.
constexpr int MaxQuotedNesting = 6;

// References may form a cycle through the map (":a" names ":b", which names ":a"), so
// following them stops after this many steps.
constexpr int MaxReferenceHops = 16;

bool isOneOf(const QString &text, std::initializer_list<const char *> list)
{
    for (const char *entry : list) {
        if (text == QLatin1String(entry))
            return true;
    }
    return false;
}

// The first value of the table that makes a readable symbol.
QString symbolPart(std::initializer_list<const char *> table, const PropertyMap &properties,
                   int hops)
{
    for (const char *entry : table) {
        const QString key = QLatin1String(entry);
        const auto it = properties.constFind(key);
        if (it == properties.cend())
            continue;
        const QString &value = it->stringValue();
        if (isOneOf(key, ReferenceProperties)) {
            if (hops >= MaxReferenceHops)
                return QString();
            return symbolPart(TextTable, resolveObjectName(value).properties(), hops + 1);
        }
        if (key == QLatin1String("name") && value == QLatin1String("unnamed"))
            continue;
        if (isOneOf(value, GeneratedNames) || value.isEmpty())
            continue;
        if (key == QLatin1String("row")) {
            const auto column = properties.constFind(QStringLiteral("column"));
            if (column != properties.cend())
                return value + u'_' + column->stringValue();
        }
        return value;
    }
    return QString();
}

// Format characters (zero-width joiners, direction marks) are invisible in a script and
// make a symbol impossible to type.
QString withoutFormatCharacters(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size();) {
        qsizetype length = 1;
        char32_t codePoint = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(text[i], text[i + 1]);
            length = 2;
        }
        if (QChar::category(codePoint) != QChar::Other_Format)
            result += QStringView(text).mid(i, length);
        i += length;
    }
    return result;
}

// Hierarchical names in older map files held single backslashes; doubling a lone one
// keeps it a literal backslash, except before '.' and '[', where it escapes them.
QString guardBackslashes(const QString &name)
{
    QString result;
    result.reserve(name.size() + 8);
    bool pending = false;
    for (const QChar c : name) {
        if (c == u'.' || c == u'[') {
            pending = false;
        } else if (c == u'\\') {
            pending = !pending;
        } else if (pending) {
            result += u'\\';
            pending = false;
        }
        result += c;
    }
    return result;
}

struct Rename
{
    const char *nested;
    const char *flat;
    bool exact;
};

} // namespace

ObjectName resolveObjectName(const QString &name)
{
    if (const ObjectMap *map = ObjectMap::self())
        return map->objectName(name);
    if (name.startsWith(u':'))
        return ObjectName(name.mid(1));
    return ObjectName(name);
}

ObjectMap::ObjectMap(bool ownerFlag) : m_ownerFlag(ownerFlag)
{
    s_self = this;
}

ObjectMap::~ObjectMap()
{
    if (s_self == this)
        s_self = nullptr;
}

ObjectMap *ObjectMap::self()
{
    return s_self;
}

bool ObjectMap::isMultiPropertyName(const QString &name)
{
    return Tolvex::isMultiPropertyName(name);
}

void ObjectMap::enter(const QString &symbolicName, const ObjectName &realName)
{
    m_symbolicToReal.insert(symbolicName, realName);
    m_realToSymbolic.insert(realName, symbolicName);
    m_modified = true;
}

void ObjectMap::add(const ObjectName &realName, const QString &symbolicName)
{
    enter(symbolicName, realName);
}

void ObjectMap::clear()
{
    m_realToSymbolic.clear();
    m_symbolicToReal.clear();
}

bool ObjectMap::loadFromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    clear();
    QTextStream in(&file);
    in.setEncoding(QStringConverter::Utf8);
    loadFromString(in.readAll());
    return true;
}

void ObjectMap::loadFromString(const QString &text)
{
    for (const auto &[symbolic, real] : parseSerializedMap(text)) {
        m_symbolicToReal.insert(symbolic, real);
        m_realToSymbolic.insert(real, symbolic);
    }
}

bool ObjectMap::saveToFile(const QString &path)
{
    if (!m_modified)
        return true;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        logLine("ObjectMap::save() failed when opening '", path, "'");
        return false;
    }
    QTextStream out(&file);
    out.setEncoding(QStringConverter::Utf8);
    out << toString();
    out.flush();
    // A full disk must not pass for a save: the recorded names would be lost silently.
    if (out.status() != QTextStream::Ok || !file.flush()) {
        logLine("ObjectMap::save() failed when writing '", path, "'");
        return false;
    }
    m_modified = false;
    return true;
}

QString ObjectMap::toString() const
{
    QString text;
    for (auto it = m_symbolicToReal.cbegin(); it != m_symbolicToReal.cend(); ++it) {
        text += escapeForSerialize(it.key());
        text += u'\t';
        text += escapeForSerialize(it->qualifiedName());
        text += u'\n';
    }
    return text;
}

std::vector<std::pair<QString, ObjectName>> ObjectMap::parseSerializedMap(const QString &text)
{
    std::vector<std::pair<QString, ObjectName>> entries;
    const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        if (line.startsWith(u'#'))
            continue;
        const qsizetype tab = line.indexOf(u'\t');
        if (tab < 0)
            continue;
        const QString symbolic = unescapeFromSerialize(line.left(tab));
        QString real = unescapeFromSerialize(line.mid(tab + 1));
        if (!Tolvex::isMultiPropertyName(real))
            real = guardBackslashes(real);
        entries.emplace_back(symbolic, ObjectName(real));
    }
    return entries;
}

void ObjectMap::setSymbolicNames(const QMap<QString, ObjectName> &names)
{
    m_symbolicToReal = names;
    m_realToSymbolic.clear();
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        m_realToSymbolic.insert(it.value(), it.key());
    m_modified = true;
}

QStringList ObjectMap::symbolicNames() const
{
    return m_symbolicToReal.keys();
}

QStringList ObjectMap::realNames() const
{
    QStringList names;
    names.reserve(m_symbolicToReal.size());
    for (const ObjectName &name : m_symbolicToReal)
        names.append(name.qualifiedName());
    return names;
}

ObjectName ObjectMap::objectName(const QString &name) const
{
    if (name.isEmpty() || !name.startsWith(u':'))
        return ObjectName(name);
    const auto it = m_symbolicToReal.constFind(name);
    if (it != m_symbolicToReal.cend())
        return it.value();
    return ObjectName(name.mid(1));
}

QString ObjectMap::realName(const QString &name) const
{
    return objectName(name).qualifiedName();
}

QString ObjectMap::symbolicName(const QString &name, bool add)
{
    return symbolicNameImpl(name, add ? this : nullptr, 0);
}

QString ObjectMap::fixedName(const QString &name, bool add)
{
    return fixedNameImpl(name, add ? this : nullptr, 0);
}

QString ObjectMap::printableName(const QString &name) const
{
    return symbolicNameImpl(name, nullptr, 0);
}

QString ObjectMap::symbolicNameImpl(const QString &name, ObjectMap *adder, int depth) const
{
    const QString fixed = fixedNameImpl(name, adder, depth);
    if (fixed.startsWith(u':'))
        return fixed;
    const ObjectName current(fixed);
    const ObjectName old(convertToOldName(fixed));
    for (auto it = m_symbolicToReal.cbegin(); it != m_symbolicToReal.cend(); ++it) {
        if (it.value() == current || it.value() == old)
            return it.key();
    }
    if (!adder)
        return fixed;

    QString symbol = Tolvex::isMultiPropertyName(fixed) ? multiPropNameToSymbolic(fixed)
                                                        : QLatin1Char(':') + fixed;
    // Dropping invisible characters, or a hierarchical name that happens to equal a
    // symbol, can land on a name in use; never overwrite another object's entry.
    symbol = unusedSymbol(withoutFormatCharacters(symbol));
    adder->enter(symbol, ObjectName(fixed));
    return symbol;
}

QString ObjectMap::fixedNameImpl(const QString &name, ObjectMap *adder, int depth) const
{
    if (!Tolvex::isMultiPropertyName(name))
        return name;
    const PropertyMap properties = parseNameByProperties(name.trimmed(), nullptr);
    QString fixed(u'{');
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        fixed += it.key();
        fixed += PropertyValue::operatorText(it->matchingMode());
        // A nested name without a symbol ends up quoted inside its parent, and each
        // level of quoting doubles its backslashes: deep names would grow
        // exponentially. Below MaxQuotedNesting levels a nested name stays as it is.
        if (it->isObject() && depth >= MaxQuotedNesting) {
            fixed += it->stringValue();
            fixed += u' ';
            continue;
        }
        QString text = it->stringValue();
        if (it->isObject())
            text = symbolicNameImpl(text, adder, depth + 1);
        fixed += u'\'';
        fixed += escapePropertyValue(text);
        fixed += QLatin1String("' ");
    }
    if (fixed.endsWith(u' '))
        fixed.chop(1);
    fixed += u'}';
    return fixed;
}

QString ObjectMap::unusedSymbol(const QString &base) const
{
    if (!contains(base))
        return base;
    for (int i = 2;; ++i) {
        QString candidate = base + u'_' + QString::number(i);
        if (!contains(candidate))
            return candidate;
    }
}

QString ObjectMap::multiPropNameToSymbolic(const QString &name) const
{
    return unusedSymbol(QLatin1Char(':') + symbolFromMultiPropName(name));
}

QString ObjectMap::symbolFromMultiPropName(const QString &name)
{
    const PropertyMap properties = parseNameByProperties(name.trimmed(), nullptr);
    QStringList parts;
    for (const auto &table : {WindowTable, ContainerTable, TextTable}) {
        const QString part = symbolPart(table, properties, 0);
        if (!part.isEmpty())
            parts.append(part);
    }
    QString type = symbolPart(TypeTable, properties, 0);
    const qsizetype dot = type.lastIndexOf(u'.');
    if (dot >= 0)
        type = type.mid(dot + 1);
    return parts.join(u'.') + u'_' + type;
}

QString ObjectMap::convertToOldName(const QString &name) const
{
    if (!Tolvex::isMultiPropertyName(name))
        return name;
    QString error;
    PropertyMap properties = parseNameByProperties(name, &error);
    if (!error.isEmpty())
        return name;

    const auto isUnnamed = [](const PropertyValue &value) {
        return value.stringValue() == QLatin1String("unnamed");
    };
    const QString nameKey = QStringLiteral("name");
    if (properties.contains(nameKey) && isUnnamed(properties.value(nameKey)))
        properties.remove(nameKey);

    const auto flatten = [&](const char *outer, std::initializer_list<Rename> renames) {
        const auto it = properties.constFind(QLatin1String(outer));
        if (it == properties.cend())
            return;
        // The nested name may stand in symbolic form, as fixedName() leaves it.
        const PropertyMap nested = objectName(it->stringValue()).properties();
        properties.erase(it);
        for (const Rename &rename : renames) {
            const auto value = nested.constFind(QLatin1String(rename.nested));
            if (value == nested.cend())
                continue;
            if (value.key() == nameKey && isUnnamed(*value))
                continue;
            properties.insert(QLatin1String(rename.flat),
                              rename.exact
                                  ? PropertyValue(value->stringValue(), PropertyValue::Exact,
                                                  PropertyValue::String)
                                  : *value);
        }
    };
    flatten("window", {{"name", "windowName", false},
                       {"type", "windowType", false},
                       {"occurrence", "windowOccurrence", false},
                       {"caption", "windowCaption", false}});
    flatten("container", {{"name", "containerName", false},
                          {"type", "containerType", false},
                          {"text", "containerLabel", true}});
    flatten("buddy", {{"text", "buddyText", true}});
    return qualifiedNameFromProperties(properties);
}

QString ObjectMap::escapeForSerialize(QString text)
{
    text.replace(u'\\', QLatin1String("\\\\"));
    text.replace(u'\n', QLatin1String("\\n"));
    text.replace(u'\r', QLatin1String("\\r"));
    text.replace(u'\t', QLatin1String("\\t"));
    return text;
}

QString ObjectMap::unescapeFromSerialize(QString text)
{
    QString result;
    result.reserve(text.size());
    bool held = false;
    for (const QChar c : std::as_const(text)) {
        if (!held) {
            if (c == u'\\')
                held = true;
            else
                result += c;
            continue;
        }
        held = false;
        if (c == u'n')
            result += u'\n';
        else if (c == u'r')
            result += u'\r';
        else if (c == u't')
            result += u'\t';
        else if (c == u'\\')
            result += u'\\';
        else
            result += QLatin1Char('\\') + c;
    }
    return result;
}

} // namespace Tolvex
