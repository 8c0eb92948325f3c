// A window of known controls that the integration tests find and press through AT-SPI.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Tarnvik Qt Controls"));

    QMenu *file = window.menuBar()->addMenu(QStringLiteral("File"));
    file->addAction(QStringLiteral("Open"));
    QObject::connect(file->addAction(QStringLiteral("Quit")), &QAction::triggered, &app,
                     &QApplication::quit);
    // As an editor's: letters are mnemonics while it is open ("s" opens the submenu), and what
    // the check item holds shows in a label of the window.
    QMenu *view = window.menuBar()->addMenu(QStringLiteral("&View"));
    view->addMenu(QStringLiteral("&Split View"))->addAction(QStringLiteral("Split Vertically"));
    QAction *wrap = view->addAction(QStringLiteral("Word &Wrap"));
    wrap->setCheckable(true);

    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);

    auto *row = new QHBoxLayout;
    auto *press = new QPushButton(QStringLiteral("Press Me"));
    auto *presses = new QLabel(QStringLiteral("Presses: 0"));
    int count = 0;
    QObject::connect(press, &QPushButton::clicked, presses, [presses, &count] {
        presses->setText(QStringLiteral("Presses: %1").arg(++count));
    });
    row->addWidget(press);
    row->addWidget(presses);
    layout->addLayout(row);
    auto *wrapping = new QLabel(QStringLiteral("Word wrap: off"));
    QObject::connect(wrap, &QAction::toggled, wrapping, [wrapping](bool on) {
        wrapping->setText(on ? QStringLiteral("Word wrap: on") : QStringLiteral("Word wrap: off"));
    });
    layout->addWidget(wrapping);

    layout->addWidget(new QCheckBox(QStringLiteral("Check Me")));
    layout->addWidget(new QRadioButton(QStringLiteral("Radio A")));
    layout->addWidget(new QRadioButton(QStringLiteral("Radio B")));

    auto *edit = new QLineEdit;
    edit->setPlaceholderText(QStringLiteral("Type here"));
    layout->addWidget(edit);

    auto *combo = new QComboBox;
    combo->addItems({QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Three")});
    layout->addWidget(combo);

    auto *tabs = new QTabWidget;
    tabs->addTab(new QLabel(QStringLiteral("On the first tab")), QStringLiteral("First Tab"));
    tabs->addTab(new QPushButton(QStringLiteral("Hidden Button")), QStringLiteral("Second Tab"));
    layout->addWidget(tabs);

    auto *list = new QListWidget;
    for (int i = 1; i <= 50; ++i)
        list->addItem(QStringLiteral("Item %1").arg(i));
    layout->addWidget(list);

    window.setCentralWidget(central);
    window.resize(480, 640);
    window.show();
    return QApplication::exec();
}
