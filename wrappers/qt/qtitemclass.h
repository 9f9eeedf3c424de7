#pragma once

// "ItemViewItem": an item of a QAbstractItemView (a row and a column of its
// model under a parent) as an object of the model, with its text, place and
// state as properties, a place on the screen, and a name of its own. The
// object holds the view weakly and the index persistently: it stays safe
// when either goes.

#include "class.h"

#include <QModelIndex>
#include <QPointer>
#include <QRect>

class QAbstractItemView;

namespace Tolvex {

class QtItemClass : public Class
{
public:
    // The class and its delegates, made once.
    static const QtItemClass *self();

    static SharedPtr<Object> wrapItem(QAbstractItemView *view, const QModelIndex &index);
    // The view and the index of an item object; false for any other object
    // and for an item whose view or index is gone.
    static bool itemOf(const SharedPtr<Object> &object, QAbstractItemView **view,
                       QModelIndex *index);
    static bool isItem(const SharedPtr<Object> &object);
    // Where the item lies, in logical global coordinates; none when it is
    // not laid out.
    static QRect logicalBounds(QAbstractItemView *view, const QModelIndex &index);
    static QString text(const QModelIndex &index);

    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;
    bool setProperty(int id, void *data, void *value) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    bool sameObjects(SharedPtr<Object> a, SharedPtr<Object> b) const override;
    bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const override;

private:
    QtItemClass();

    void initSuperClass() override;
    Property *createProperty(int id) const override;
    bool canConvertToInternal(const Class *target, bool sourceIsPointer,
                              bool targetIsPointer) const override;
    SharedPtr<Object> convertToInternal(SharedPtr<Object> obj, const Class *target,
                                        bool targetIsPointer) const override;
};

} // namespace Tolvex
