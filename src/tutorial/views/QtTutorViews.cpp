#include "tutorial/views/QtTutorViews.h"

#include "click/views/QtTargetsWindow.h"
#include "click/views/ShellPanel.h"
#include "labels/LabelTheme.h"
#include "tutorial/TutorMode.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace tarnvik {

namespace {

// The element's frame: the blue box, translucent, or its border alone where nothing can be.
class TutorTargetView : public QWidget
{
public:
    explicit TutorTargetView(bool hasCompositor)
        : _hasCompositor(hasCompositor)
    {
        makeOverlayWindow(*this, "Tarnvik Highlight", {}, hasCompositor);
    }

    void place(QRect frame, bool boxHidden)
    {
        _boxHidden = boxHidden;
        setGeometry(frame);
        if (!_hasCompositor)
            setMask(boxHidden ? QRegion(0, 0, 1, 1) : ringOf(QRectF(rect())));
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        if (_boxHidden)
            return;
        QPainter painter(this);
        if (!_hasCompositor) {
            painter.fillRect(rect(), systemBlue());
            return;
        }
        painter.setRenderHint(QPainter::Antialiasing);
        paintTranslucentHighlight(painter, QRectF(rect()), 1.0);
    }

private:
    bool _hasCompositor;
    bool _boxHidden = false;
};

QLabel *label(const QString &text, QWidget *parent, double pointSize, QFont::Weight weight)
{
    auto *l = new QLabel(text, parent);
    l->setTextFormat(Qt::PlainText);
    QFont font = l->font();
    if (pointSize > 0)
        font.setPointSizeF(pointSize);
    font.setWeight(weight);
    l->setFont(font);
    return l;
}

// The popover: the title, a row for each property, the footer.
class TutorPopoverView : public QWidget
{
public:
    explicit TutorPopoverView(const std::vector<TutorRow> &rows)
    {
        setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                       | Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus | Qt::Tool);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_X11DoNotAcceptFocus);
        setWindowTitle("Tarnvik Tutor");
        setAutoFillBackground(true);
        auto *stack = new QVBoxLayout(this);
        stack->setContentsMargins(25, 12, 25, 8);
        stack->setAlignment(Qt::AlignHCenter);
        auto *title = label(TutorMode::title, this, 16.0, QFont::Bold);
        title->setAlignment(Qt::AlignHCenter);
        stack->addWidget(title);
        stack->addSpacing(12);
        auto *grid = new QGridLayout;
        grid->setHorizontalSpacing(2);
        int row = 0;
        for (const auto &[key, value] : rows) {
            auto *name = label(QString::fromStdString(key) + ":", this, 0, QFont::Bold);
            grid->addWidget(name, row, 0, Qt::AlignRight | Qt::AlignTop);
            auto *text = label(QString::fromStdString(value), this, 0, QFont::Normal);
            text->setWordWrap(true);
            text->setFixedWidth(200);
            // Five lines at the most.
            text->setMaximumHeight(5 * text->fontMetrics().lineSpacing());
            grid->addWidget(text, row, 1, Qt::AlignLeft | Qt::AlignTop);
            ++row;
        }
        stack->addLayout(grid);
        stack->addSpacing(15);
        auto *footer = label(TutorMode::footer, this, font().pointSizeF() * 0.85, QFont::DemiBold);
        footer->setForegroundRole(QPalette::PlaceholderText);
        footer->setAlignment(Qt::AlignHCenter);
        stack->addWidget(footer);
        adjustSize();
    }

    // Its edge, to stand apart from the window under it.
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setPen(QPen(palette().mid().color(), 1.0));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }

    // Its top left, below `element` on the screen that shows it.
    QPoint originBelow(QRect element) const
    {
        std::vector<CGRect> screens;
        for (const QScreen *screen : QGuiApplication::screens()) {
            const QRect g = screen->geometry();
            screens.push_back(makeRect(g.x(), g.y(), g.width(), g.height()));
        }
        const CGPoint origin = TutorMode::popoverOrigin(
            makeRect(element.x(), element.y(), element.width(), element.height()),
            {static_cast<double>(width()), static_cast<double>(height())}, screens);
        return {static_cast<int>(origin.x), static_cast<int>(origin.y)};
    }
};

class QtTutorWindow final : public TutorWindow
{
public:
    explicit QtTutorWindow(const QtTutorViews::Environment &environment)
        : _environment(environment)
        , _target(environment.hasCompositor)
    { }

    void orderFront() override { }

    void close() override
    {
        clear();
        _target.hide();
    }

    void clear() override
    {
        _target.hide();
        _popover.reset();
        if (_environment.shell) {
            _environment.shell->hidePanel(boxPanel);
            _environment.shell->hidePanel(popoverPanel);
        }
    }

    void show(CGRect frame, bool boxHidden, const std::vector<TutorRow> &rows) override
    {
        const CGRect flipped = flippedRect(frame, _environment.firstScreenHeight());
        const QRect element =
            QRectF(flipped.origin.x, flipped.origin.y, flipped.size.width, flipped.size.height)
                .toAlignedRect();
        _popover = std::make_unique<TutorPopoverView>(rows);
        const QPoint popoverOrigin = _popover->originBelow(element);
        if (_environment.shell)
            return showInShell(frame, boxHidden, popoverOrigin);
        _target.place(element, boxHidden);
        _target.show();
        _popover->move(popoverOrigin);
        _popover->show();
    }

private:
    static constexpr const char *boxPanel = "tutor box";
    static constexpr const char *popoverPanel = "tutor";

    void showInShell(CGRect frame, bool boxHidden, QPoint popoverOrigin)
    {
        Overview &shell = *_environment.shell;
        if (boxHidden)
            shell.hidePanel(boxPanel);
        else
            shell.showPanel(highlightPanel(boxPanel,
                                           flippedRect(frame, _environment.firstScreenHeight()),
                                           _popover->devicePixelRatioF()));
        shell.showPanel(shellPanel(popoverPanel, *_popover, popoverOrigin));
    }

    QtTutorViews::Environment _environment;
    TutorTargetView _target;
    std::unique_ptr<TutorPopoverView> _popover;
};

} // namespace

std::unique_ptr<TutorWindow> QtTutorViews::createTutorWindow()
{
    return std::make_unique<QtTutorWindow>(_environment);
}

} // namespace tarnvik
