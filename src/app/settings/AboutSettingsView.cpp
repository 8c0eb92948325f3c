// The About page: the program, its version, links to its own documents and its release history.
#include "app/Changelog.h"
#include "app/settings/SettingsPages.h"
#include "app/settings/SettingsWindow.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace tarnvik {

namespace {

QLabel *plain(const QString &text, QWidget *parent, bool bold = false)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    if (bold) {
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
    }
    return label;
}

QPushButton *linkPill(const QString &title, const char *icon, QWidget *parent)
{
    auto *pill = new QPushButton(QIcon::fromTheme(icon), title, parent);
    pill->setFlat(true);
    return pill;
}

void addChangelog(QVBoxLayout *column, QWidget *parent, const std::string &appcastPath)
{
    for (const auto &entry : Changelog::load(appcastPath)) {
        column->addWidget(
            plain(QString::fromStdString(entry.version + "  " + entry.date), parent, true));
        for (const auto &section : entry.sections) {
            if (section.title)
                column->addWidget(plain(QString::fromStdString(*section.title), parent));
            for (const auto &item : section.items)
                column->addWidget(plain("• " + QString::fromStdString(item), parent));
        }
    }
}

} // namespace

QWidget *makeAboutSettingsView(SettingsServices &services)
{
    auto *page = new QScrollArea;
    page->setWidgetResizable(true);
    page->setFrameShape(QFrame::NoFrame);
    auto *content = new QWidget(page);
    auto *column = new QVBoxLayout(content);
    column->setContentsMargins(20, 20, 20, 20);

    auto *icon = new QLabel(content);
    icon->setPixmap(QIcon(":/icons/tarnvik.svg").pixmap(96, 96));
    column->addWidget(icon, 0, Qt::AlignHCenter);
    auto *name = plain("Tarnvik " + QString::fromStdString(services.version), content, true);
    name->setAlignment(Qt::AlignHCenter);
    column->addWidget(name);

    // The program's own documents, installed with it: no address on the web stands for them.
    auto *links = new QHBoxLayout;
    auto *guide = linkPill("User Guide", "help-contents", content);
    QObject::connect(guide, &QPushButton::clicked, content,
                     [open = services.openPage] { open("README.md"); });
    auto *designer = linkPill("Label Designer", "applications-graphics", content);
    QObject::connect(designer, &QPushButton::clicked, content, services.openLabelDesigner);
    links->addStretch(1);
    links->addWidget(guide);
    links->addWidget(designer);
    links->addStretch(1);
    column->addLayout(links);

    column->addWidget(plain("Changelog", content, true));
    addChangelog(column, content, services.appcastPath);
    column->addStretch(1);
    page->setWidget(content);
    return page;
}

} // namespace tarnvik
