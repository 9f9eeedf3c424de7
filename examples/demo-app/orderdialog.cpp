#include "orderdialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

OrderDialog::OrderDialog(const QString &product, QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("orderDialog"));
    setWindowTitle(QStringLiteral("Order"));
    setModal(true);

    auto *layout = new QFormLayout(this);
    auto *productLabel = new QLabel(product);
    productLabel->setObjectName(QStringLiteral("orderProduct"));
    layout->addRow(QStringLiteral("Product:"), productLabel);

    m_quantity = new QSpinBox;
    m_quantity->setObjectName(QStringLiteral("quantity"));
    m_quantity->setRange(1, 99);
    layout->addRow(QStringLiteral("&Quantity:"), m_quantity);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->setObjectName(QStringLiteral("orderButtons"));
    layout->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

int OrderDialog::quantity() const
{
    return m_quantity->value();
}
