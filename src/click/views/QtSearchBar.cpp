#include "click/views/QtSearchBar.h"

#include "click/views/ShellPanel.h"
#include "labels/LabelTheme.h"
#include "platform/KeyCodes.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QTimer>
#include <QVariantAnimation>

#include <array>
#include <cmath>

namespace tarnvik {

namespace {

constexpr int barWidth = 250;

// Editing keys by position, as the field understands them.
Qt::Key editingKey(std::uint16_t keyCode)
{
    static constexpr std::array<std::pair<std::uint16_t, Qt::Key>, 9> keys {{
        {KeyCode::deleteKey, Qt::Key_Backspace},
        {KeyCode::forwardDelete, Qt::Key_Delete},
        {KeyCode::left, Qt::Key_Left},
        {KeyCode::right, Qt::Key_Right},
        {KeyCode::home, Qt::Key_Home},
        {KeyCode::end, Qt::Key_End},
        {KeyCode::returnKey, Qt::Key_Return},
        {KeyCode::up, Qt::Key_Up},
        {KeyCode::down, Qt::Key_Down},
    }};
    for (const auto &[code, key] : keys)
        if (code == keyCode)
            return key;
    return Qt::Key_unknown;
}

} // namespace

SearchBarWidget::SearchBarWidget(double zoom)
    : _field(new QLineEdit(this))
    , _zoom(zoom)
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                   | Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus | Qt::Tool);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11DoNotAcceptFocus);
    setWindowTitle(QApplication::applicationDisplayName() + " Search Bar");
    QFont font = _field->font();
    font.setPixelSize(static_cast<int>(std::lround(16 * zoom)));
    _field->setFont(font);
    _field->setFrame(false);
    _field->setPlaceholderText("Search and Press Return");
    _field->setAttribute(Qt::WA_MacShowFocusRect, false);
    // Shows the cursor and selection although the window never has the focus.
    _field->setFocusPolicy(Qt::NoFocus);
    const auto px = [zoom](int points) {
        return static_cast<int>(std::lround(points * zoom));
    };
    const int fieldHeight = _field->sizeHint().height();
    setFixedSize(px(barWidth), fieldHeight + px(20));
    _field->setGeometry(px(15), px(10), px(barWidth - 30), fieldHeight);
    QPalette p = palette();
    p.setColor(QPalette::Window, QColor(246, 246, 246));
    setPalette(p);
    setAutoFillBackground(true);
    animateTo(0.2, 200, [this] {
        if (!_stopped)
            animateTo(0.9, 20000, {});
    });
}

void SearchBarWidget::animateTo(double fraction, int milliseconds, std::function<void()> then)
{
    if (_sweep)
        _sweep->stop();
    _sweep = new QVariantAnimation(this);
    _sweep->setStartValue(_progress);
    _sweep->setEndValue(fraction);
    _sweep->setDuration(milliseconds);
    _sweep->setEasingCurve(QEasingCurve::InOutQuad);
    QObject::connect(_sweep, &QVariantAnimation::valueChanged, this, [this](const QVariant &v) {
        _progress = v.toDouble();
        update();
        if (_swept)
            _swept();
    });
    if (then)
        QObject::connect(_sweep, &QVariantAnimation::finished, this, std::move(then));
    _sweep->start(QAbstractAnimation::DeleteWhenStopped);
}

void SearchBarWidget::stopProgress()
{
    _stopped = true;
    animateTo(1.0, 200, [this] {
        _progress = 0;
        update();
        if (_swept)
            _swept();
    });
}

void SearchBarWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(QRectF(0, height() - 2 * _zoom, width() * _progress, 2 * _zoom), systemBlue());
}

QtSearchBar::QtSearchBar(Environment environment)
    : _widget(new SearchBarWidget(environment.zoom))
    , _environment(std::move(environment))
{
    QObject::connect(_widget->field(), &QLineEdit::textEdited, _widget, [this] {
        if (_textChanged)
            _textChanged();
    });
    if (!_environment.shell)
        return;
    QLineEdit *field = _widget->field();
    QObject::connect(field, &QLineEdit::textChanged, _widget, [this] { changed(); });
    QObject::connect(field, &QLineEdit::cursorPositionChanged, _widget, [this] { changed(); });
    QObject::connect(field, &QLineEdit::selectionChanged, _widget, [this] { changed(); });
    _widget->onSwept([this] { changed(); });
}

// Several changes of one event (a typed key moves the text and the cursor) go as one image.
void QtSearchBar::changed()
{
    if (!_shown || _sendQueued)
        return;
    _sendQueued = true;
    QTimer::singleShot(0, _widget, [this] {
        _sendQueued = false;
        sendToShell();
    });
}

void QtSearchBar::sendToShell()
{
    if (!_widget || !_shown)
        return;
    _environment.shell->showPanel(shellPanel("search", *_widget, _origin));
}

QtSearchBar::~QtSearchBar()
{
    close();
}

void QtSearchBar::orderFront()
{
    if (!_widget)
        return;
    if (!_environment.shell)
        return _widget->show();
    _shown = true;
    sendToShell();
}

void QtSearchBar::close()
{
    if (!_widget)
        return;
    if (_environment.shell && _shown)
        _environment.shell->hidePanel("search");
    _shown = false;
    _widget->hide();
    _widget->deleteLater();
    _widget.clear();
}

std::string QtSearchBar::text() const
{
    return _widget ? _widget->field()->text().toStdString() : std::string();
}

void QtSearchBar::setText(const std::string &text)
{
    if (_widget)
        _widget->field()->setText(QString::fromStdString(text));
}

void QtSearchBar::onTextChanged(std::function<void()> handler)
{
    _textChanged = std::move(handler);
}

void QtSearchBar::typeKey(const KeyEvent &event)
{
    if (!_widget)
        return;
    Qt::KeyboardModifiers modifiers;
    if (event.flags & ModifierFlag::shift)
        modifiers |= Qt::ShiftModifier;
    // Command's editing keys (cut, copy, paste, undo, select all) are Control's in Qt.
    if (event.flags & (ModifierFlag::command | ModifierFlag::control))
        modifiers |= Qt::ControlModifier;
    if (event.flags & ModifierFlag::option)
        modifiers |= Qt::AltModifier;
    Qt::Key key = editingKey(event.keyCode);
    QString text;
    if (key == Qt::Key_unknown) {
        const auto ascii = asciiCharacter(event.keyCode);
        key = ascii ? static_cast<Qt::Key>(QChar(*ascii).toUpper().unicode()) : Qt::Key_unknown;
        if (!(modifiers & (Qt::ControlModifier | Qt::AltModifier)))
            text = QString::fromStdString(event.characters);
    }
    if (key == Qt::Key_unknown && text.isEmpty())
        return;
    QKeyEvent qtEvent(event.type == EventType::keyDown ? QEvent::KeyPress : QEvent::KeyRelease, key,
                      modifiers, text);
    QApplication::sendEvent(_widget->field(), &qtEvent);
}

CGSize QtSearchBar::size() const
{
    return _widget ? CGSize {double(_widget->width()), double(_widget->height())} : CGSize {};
}

void QtSearchBar::moveTo(CGPoint origin)
{
    if (!_widget)
        return;
    _origin = QPoint(int(origin.x),
                     int(_environment.firstScreenHeight() - origin.y - double(_widget->height())));
    if (!_environment.shell)
        return _widget->move(_origin);
    sendToShell();
}

void QtSearchBar::stopProgress()
{
    if (_widget)
        _widget->stopProgress();
}

} // namespace tarnvik
