#pragma once

#include <QMainWindow>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QTableWidget;

class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);

private:
    QWidget *createFormPage();
    QWidget *createCataloguePage();
    void createMenus();
    void submit();
    void order();

    QLineEdit *m_name = nullptr;
    QLineEdit *m_email = nullptr;
    QComboBox *m_country = nullptr;
    QCheckBox *m_newsletter = nullptr;
    QCheckBox *m_terms = nullptr;
    QLabel *m_status = nullptr;
    QListWidget *m_products = nullptr;
    QTableWidget *m_orders = nullptr;
    QLabel *m_orderDetails = nullptr;
};
