#pragma once

#include "click/ModeViews.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QLineEdit;
class QVariantAnimation;

namespace tarnvik {

// The search bar's panel: a field for the search text and a thin bar that sweeps while the
// trees are read. It never takes the keyboard focus from the application in front; the session
// hands it the keys it doesn't use.
class SearchBarWidget final : public QWidget
{
public:
    // `zoom`: screen pixels per point, the desktop's scale.
    explicit SearchBarWidget(double zoom);
    QLineEdit *field() const { return _field; }
    void stopProgress();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QLineEdit *_field;
    const double _zoom;
    double _progress = 0;
    bool _stopped = false;
    QPointer<QVariantAnimation> _sweep;
    void animateTo(double fraction, int milliseconds, std::function<void()> then);
};

class QtSearchBar final : public SearchBarWindow
{
public:
    QtSearchBar(std::function<double()> firstScreenHeight, double zoom);
    ~QtSearchBar() override;

    void orderFront() override;
    void close() override;
    std::string text() const override;
    void setText(const std::string &text) override;
    void onTextChanged(std::function<void()> handler) override;
    void typeKey(const KeyEvent &event) override;
    CGSize size() const override;
    void moveTo(CGPoint origin) override;
    void stopProgress() override;

private:
    QPointer<SearchBarWidget> _widget;
    std::function<double()> _firstScreenHeight;
    std::function<void()> _textChanged;
};

} // namespace tarnvik
