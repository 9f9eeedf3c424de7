#pragma once

#include <QDialog>

class QSpinBox;

// Asks how many of a product to order; modal over the main window.
class OrderDialog : public QDialog
{
    Q_OBJECT
public:
    OrderDialog(const QString &product, QWidget *parent = nullptr);
    int quantity() const;

private:
    QSpinBox *m_quantity = nullptr;
};
