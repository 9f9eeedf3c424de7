#pragma once

#include "constructor.h"
#include "enum.h"
#include "event.h"
#include "method.h"
#include "property.h"
#include "serializable.h"
#include "tolvexexport.h"

#include <QList>
#include <QPair>
#include <QString>

#include <memory>
#include <vector>

namespace Tolvex {

// A class as the receiving side of the class stream reads it. A Class
// itself reads nothing: the receiver rebuilds its classes with its own code
// from what this holds. Writing it back gives the same form.
class TOLVEX_EXPORT ClassDescription : public Serializable
{
public:
    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

    int id = -1;
    QString name;
    int namespaceId = 0;
    unsigned int natures = 0;
    QString superClassName;
    int superNamespaceId = 0;
    std::vector<std::unique_ptr<Enum>> enums;
    std::vector<std::unique_ptr<Method>> methods;
    std::vector<std::unique_ptr<Property>> properties;
    std::vector<std::unique_ptr<Constructor>> constructors;
    std::vector<std::unique_ptr<Event>> events;
    // Interface map key and the interface's class name.
    QList<QPair<QString, QString>> interfaces;
};

} // namespace Tolvex
