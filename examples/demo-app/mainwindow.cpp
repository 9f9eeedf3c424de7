#include "mainwindow.h"

#include "orderdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

struct Product
{
    const char *name;
    double price;
};

constexpr Product Products[] = {
    {"Apples", 2.40}, {"Bread", 3.10}, {"Cheese", 6.75}, {"Dates", 4.20}, {"Eggs", 2.95},
};

} // namespace

MainWindow::MainWindow(QWidget *parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Tolvex Demo"));

    auto *tabs = new QTabWidget;
    tabs->setObjectName(QStringLiteral("tabs"));
    tabs->addTab(createFormPage(), QStringLiteral("&Registration"));
    tabs->addTab(createCataloguePage(), QStringLiteral("&Catalogue"));
    setCentralWidget(tabs);
    createMenus();
    statusBar()->showMessage(QStringLiteral("Ready"));
    resize(640, 480);
}

QWidget *MainWindow::createFormPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("registrationPage"));
    auto *form = new QFormLayout;

    m_name = new QLineEdit;
    m_name->setObjectName(QStringLiteral("name"));
    m_name->setPlaceholderText(QStringLiteral("Full name"));
    form->addRow(QStringLiteral("&Name:"), m_name);

    m_email = new QLineEdit;
    m_email->setObjectName(QStringLiteral("email"));
    m_email->setPlaceholderText(QStringLiteral("name@example.org"));
    form->addRow(QStringLiteral("&E-mail:"), m_email);

    m_country = new QComboBox;
    m_country->setObjectName(QStringLiteral("country"));
    m_country->addItems({QStringLiteral("Austria"), QStringLiteral("Denmark"),
                         QStringLiteral("Norway"), QStringLiteral("Portugal")});
    form->addRow(QStringLiteral("&Country:"), m_country);

    m_newsletter = new QCheckBox(QStringLiteral("Send me the &newsletter"));
    m_newsletter->setObjectName(QStringLiteral("newsletter"));
    form->addRow(m_newsletter);

    m_terms = new QCheckBox(QStringLiteral("I accept the &terms"));
    m_terms->setObjectName(QStringLiteral("terms"));
    form->addRow(m_terms);

    auto *submit = new QPushButton(QStringLiteral("&Submit"));
    submit->setObjectName(QStringLiteral("submit"));
    connect(submit, &QPushButton::clicked, this, &MainWindow::submit);

    m_status = new QLabel;
    m_status->setObjectName(QStringLiteral("status"));

    auto *layout = new QVBoxLayout(page);
    layout->addLayout(form);
    layout->addWidget(submit);
    layout->addWidget(m_status);
    layout->addStretch();
    return page;
}

QWidget *MainWindow::createCataloguePage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("cataloguePage"));

    m_products = new QListWidget;
    m_products->setObjectName(QStringLiteral("products"));
    for (const Product &p : Products)
        m_products->addItem(QString::fromLatin1(p.name));

    auto *orderButton = new QPushButton(QStringLiteral("&Order..."));
    orderButton->setObjectName(QStringLiteral("order"));
    connect(orderButton, &QPushButton::clicked, this, &MainWindow::order);
    connect(m_products, &QListWidget::itemDoubleClicked, this, &MainWindow::order);

    m_orders = new QTableWidget(0, 3);
    m_orders->setObjectName(QStringLiteral("orders"));
    m_orders->setHorizontalHeaderLabels(
        {QStringLiteral("Product"), QStringLiteral("Quantity"), QStringLiteral("Total")});
    m_orders->horizontalHeader()->setStretchLastSection(true);
    m_orders->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_orders->setEditTriggers(QAbstractItemView::NoEditTriggers);

    // What the selected order holds, in words.
    m_orderDetails = new QLabel;
    m_orderDetails->setObjectName(QStringLiteral("orderDetails"));
    connect(m_orders, &QTableWidget::itemSelectionChanged, this, [this] {
        const int row = m_orders->currentRow();
        if (row < 0 || !m_orders->item(row, 2)) {
            m_orderDetails->clear();
            return;
        }
        m_orderDetails->setText(QStringLiteral("%1, %2 for %3")
                                    .arg(m_orders->item(row, 0)->text(),
                                         m_orders->item(row, 1)->text(),
                                         m_orders->item(row, 2)->text()));
    });

    auto *left = new QVBoxLayout;
    left->addWidget(m_products);
    left->addWidget(orderButton);
    auto *right = new QVBoxLayout;
    right->addWidget(m_orders, 1);
    right->addWidget(m_orderDetails);
    auto *layout = new QHBoxLayout(page);
    layout->addLayout(left);
    layout->addLayout(right, 1);
    return page;
}

void MainWindow::createMenus()
{
    QMenu *file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("fileMenu"));
    QAction *clear = file->addAction(QStringLiteral("&Clear orders"));
    clear->setObjectName(QStringLiteral("clearOrders"));
    connect(clear, &QAction::triggered, this, [this] {
        m_orders->setRowCount(0);
        statusBar()->showMessage(QStringLiteral("Orders cleared"));
    });
    file->addSeparator();
    QAction *quit = file->addAction(QStringLiteral("&Quit"));
    quit->setObjectName(QStringLiteral("quit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);

    QMenu *help = menuBar()->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("helpMenu"));
    QAction *about = help->addAction(QStringLiteral("&About"));
    about->setObjectName(QStringLiteral("about"));
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(this, QStringLiteral("About Tolvex Demo"),
                           QStringLiteral("A small application for test automation demos."));
    });
}

void MainWindow::submit()
{
    QString problem;
    if (m_name->text().trimmed().isEmpty())
        problem = QStringLiteral("Please enter your name.");
    else if (!m_email->text().contains(QLatin1Char('@')))
        problem = QStringLiteral("Please enter a valid e-mail address.");
    else if (!m_terms->isChecked())
        problem = QStringLiteral("Please accept the terms.");

    if (!problem.isEmpty()) {
        m_status->setText(problem);
        statusBar()->showMessage(QStringLiteral("Registration incomplete"));
        return;
    }
    m_status->setText(
        QStringLiteral("Registered %1 from %2%3")
            .arg(m_name->text().trimmed(), m_country->currentText(),
                 m_newsletter->isChecked() ? QStringLiteral(", with newsletter") : QString()));
    statusBar()->showMessage(QStringLiteral("Registration complete"));
}

void MainWindow::order()
{
    const QListWidgetItem *item = m_products->currentItem();
    if (!item) {
        statusBar()->showMessage(QStringLiteral("Pick a product first"));
        return;
    }
    const int index = m_products->row(item);
    OrderDialog dialog(item->text(), this);
    if (dialog.exec() != QDialog::Accepted) {
        statusBar()->showMessage(QStringLiteral("Order cancelled"));
        return;
    }
    const int row = m_orders->rowCount();
    m_orders->insertRow(row);
    m_orders->setItem(row, 0, new QTableWidgetItem(item->text()));
    m_orders->setItem(row, 1, new QTableWidgetItem(QString::number(dialog.quantity())));
    m_orders->setItem(
        row, 2,
        new QTableWidgetItem(QString::number(Products[index].price * dialog.quantity(), 'f', 2)));
    statusBar()->showMessage(QStringLiteral("Ordered %1").arg(item->text()));
}
