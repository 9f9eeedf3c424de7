// Snapshot streams as the tool reads them: whatever the bytes, reading must
// neither crash nor leak, and whatever was read must come back the same
// after it is written again.

#include "uielement.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using Tolvex::UIAbstraction::UIElement;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const QList<UIElement *> elements = UIElement::elementsFromByteArray(bytes);
    QList<const UIElement *> written(elements.cbegin(), elements.cend());
    const QList<UIElement *> again =
        UIElement::elementsFromByteArray(UIElement::toByteArray(written));
    if (again.size() != elements.size())
        std::abort();
    for (qsizetype i = 0; i < elements.size(); ++i)
        if (!again.at(i)->isSimilarTo(elements.at(i), true) ||
            again.at(i)->id() != elements.at(i)->id())
            std::abort();
    qDeleteAll(elements);
    qDeleteAll(again);
    return 0;
}
