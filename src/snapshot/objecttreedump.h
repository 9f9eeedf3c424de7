#pragma once

// A snapshot of the live object tree from one object down: the filters say
// which classes, properties, pictures and names to take, toolkits may step
// in through their DumpObjectTreeDelegate, and the result is a tree of
// toolkit-neutral elements in its stream form.

#include "delegate.h"
#include "tolvexexport.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace Tolvex {

class FilterObject;

class TOLVEX_EXPORT ObjectTreeDump
{
public:
    // The picture of an object for its element; a null image for none.
    using Grabber = std::function<QImage(const SharedPtr<Object> &)>;

    // The wrapper name of a wrapper type number ("Qt" for 5); empty for a
    // number that names none.
    static QString wrapperName(int wrapperType);

    // Reads one filter document after the other into filters, by wrapper
    // name: a repeated name merges, and a wildcard filter, which must come
    // after the others, merges into each of them. On failure filters is
    // left empty and error says why.
    static bool parseFilters(const QList<QByteArray> &documents, DumpFilters *filters,
                             QString *error);
    static void deleteFilters(DumpFilters *filters);

    explicit ObjectTreeDump(Grabber grabber);
    ~ObjectTreeDump();
    ObjectTreeDump(const ObjectTreeDump &) = delete;
    ObjectTreeDump &operator=(const ObjectTreeDump &) = delete;

    // The dump under way on this thread, for delegates that build on the
    // generic walk; null between dumps.
    static ObjectTreeDump *current();

    // The stream form of the tree under object: a count of 1 and the tree,
    // or a count of 0 when there is none. Empty with error set on failure.
    QByteArray serialize(SharedPtr<Object> object, const DumpFilters &filters, QString *error);

    // The tree under object, the caller's; null on failure, or when the
    // object's class is excluded (then without an error).
    UIAbstraction::UIElement *dumpObjectTree(SharedPtr<Object> object, const DumpFilters &filters,
                                             QString *error);
    // The same without asking the object's own delegate to make it: what a
    // delegate's dumpObject can build on.
    UIAbstraction::UIElement *dumpObjectTreeImpl(SharedPtr<Object> object, bool isRoot,
                                                 const DumpFilters &filters, QString *error);
    // The filter that applies to the object; null to leave it out, with an
    // error when no filter fits its toolkit.
    static FilterObject *filterObjectForTolvexObject(SharedPtr<Object> object,
                                                     const DumpFilters &filters, QString *error);

private:
    // What the walk needs of a class, found once per dump: a tree has few
    // classes and many objects.
    struct ClassFacts;
    ClassFacts &factsOf(const SharedPtr<Object> &object, const DumpFilters &filters);
    UIAbstraction::UIElement *fullElement(const SharedPtr<Object> &object, bool isRoot,
                                          ClassFacts &facts, const Rect<2> &bounds,
                                          bool transparent);

    Grabber m_grabber;
    // By class and wrapper type; for the filters of the dump under way.
    std::map<std::pair<const Class *, int>, std::unique_ptr<ClassFacts>> m_facts;
};

} // namespace Tolvex
