#pragma once

// What a snapshot takes of each class of one toolkit: read from a small XML
// document per toolkit, asked while the tree is walked, along the class
// chain of each object up to the filter for "*".

#include "tolvexexport.h"

#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>

#include <map>
#include <memory>
#include <string>

namespace Tolvex {

class Class;

enum ExcludeType : int { NotSet = 0, Excluded = 1, Included = 2 };

struct TOLVEX_EXPORT PropertyInfo
{
    enum Type : int { Concrete = 0, Identifying = 1 };
    Type type = Concrete;
    ExcludeType exclude = NotSet;
};

class TOLVEX_EXPORT FilterObject
{
public:
    FilterObject(const QString &className, ExcludeType exclude);
    FilterObject(const FilterObject &) = delete;
    FilterObject &operator=(const FilterObject &) = delete;

    QString className() const { return m_className; }

    // "*" sets the default for properties not named; a name with "*" or "?"
    // is a pattern that must match a whole name; others are exact.
    void addProperty(PropertyInfo::Type type, const QString &name, ExcludeType exclude);

    void setChildNodesExcluded(ExcludeType exclude) { m_childNodes = exclude; }
    void setScreenshotExcluded(ExcludeType exclude) { m_screenshot = exclude; }
    void setScreenshotIfRootExcluded(ExcludeType exclude) { m_screenshotIfRoot = exclude; }
    void setTransparentNodesExcluded(ExcludeType exclude) { m_transparentNodes = exclude; }
    void setRealNameExcluded(ExcludeType exclude) { m_realName = exclude; }
    void setSymbolicNameExcluded(ExcludeType exclude) { m_symbolicName = exclude; }

    // Each asks this filter, then its base filters: the first that has a
    // say decides; none means false.
    bool isChildNodesExcluded() const;
    bool isScreenshotExcluded() const;
    bool isScreenshotIfRootExcluded() const;
    bool areTransparentNodesExcluded() const;
    bool isRealNameExcluded() const;
    bool isSymbolicNameExcluded() const;
    // This filter's own word on the whole class.
    bool isObjectExcluded() const { return m_object == Excluded; }

    bool isMatchedClass(const QString &name) const;
    // Whether the property goes into the snapshot, and as which kind. The
    // answer is kept under the name, so patterns and base filters are asked
    // once per name.
    bool isMatchedProperty(const QString &name, PropertyInfo *info);

    void setBaseFilter(FilterObject *base);
    bool hasBaseFilter() const { return m_baseAssigned; }
    // Unassigned again: the next lookup links it afresh.
    void forgetBaseFilter()
    {
        m_base = nullptr;
        m_baseAssigned = false;
    }
    FilterObject *baseFilter() const { return m_base; }
    // The filters in the chain from this one up.
    int depth() const;
    QString matchedClass() const { return m_className; }

    // Takes over what other has set.
    void mergeWith(const FilterObject *other);

private:
    struct Pattern
    {
        QRegularExpression expression;
        QString source;
        ExcludeType exclude;
    };
    // The first filter up the chain whose field is set decides.
    bool chainSays(ExcludeType FilterObject::*field) const;

    QString m_className;
    std::map<QString, PropertyInfo> m_properties;
    QList<Pattern> m_patterns;
    ExcludeType m_childNodes = NotSet;
    ExcludeType m_screenshot = NotSet;
    ExcludeType m_screenshotIfRoot = NotSet;
    ExcludeType m_transparentNodes = NotSet;
    ExcludeType m_realName = NotSet;
    ExcludeType m_symbolicName = NotSet;
    ExcludeType m_defaultProperty = NotSet;
    ExcludeType m_object;
    bool m_baseAssigned = false;
    FilterObject *m_base = nullptr;
};

class TOLVEX_EXPORT DumpFilter
{
public:
    DumpFilter() = default;
    ~DumpFilter();
    DumpFilter(const DumpFilter &) = delete;
    DumpFilter &operator=(const DumpFilter &) = delete;

    // Takes the filter; one for a class already here, or a second "*",
    // merges into the one here.
    void addFilter(FilterObject *filter);
    void clear();
    // The filter of the class or of its nearest base class that has one,
    // else the "*" filter; null when there is none, or when it excludes the
    // class.
    FilterObject *findFilter(const Class *c);
    void mergeWith(DumpFilter *other);

    void setWrapperName(const std::string &name) { m_wrapperName = name; }
    std::string wrapperName() const { return m_wrapperName; }
    // The classes with a filter of their own; the "*" filter is not counted.
    int size() const { return int(m_filters.size()); }
    FilterObject *defaultFilter() const { return m_default.get(); }
    FilterObject *filterOf(const QString &className) const;

private:
    FilterObject *findAndAssembleFilterHierarchy(const Class *c);
    // Base links are made as classes are asked about; a merge changes what
    // they would be.
    void forgetBaseFilters();

    std::string m_wrapperName;
    std::map<QString, std::unique_ptr<FilterObject>> m_filters;
    std::unique_ptr<FilterObject> m_default;
};

// Reads the XML of one filter into filter; false, with the reason in error,
// for a document that is not one. A bad element leaves filter empty.
TOLVEX_EXPORT bool parseDumpFilter(const QByteArray &bytes, DumpFilter *filter, QString *error);

} // namespace Tolvex
