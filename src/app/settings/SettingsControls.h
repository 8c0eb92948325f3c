#pragma once

#include <QFrame>
#include <QString>

#include <functional>
#include <utility>
#include <vector>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSlider;
class QVBoxLayout;
class QGridLayout;

namespace tarnvik {

class Preferences;

// A titled card of rows: the text of each row on the left, its control on the right, and a help
// button beside it where the row has help.
class SettingsGroup : public QFrame
{
public:
    SettingsGroup(const QString &title, QWidget *parent);

    // The control is named after its row, so that a screen reader (and Tarnvik's own search)
    // finds it by the text beside it.
    void addRow(const QString &text, QWidget *control, const QString &help = {});

private:
    QGridLayout *_rows;
};

// A page of the settings: a scrolling column of groups.
class SettingsPage : public QWidget
{
public:
    explicit SettingsPage(QWidget *parent = nullptr);
    SettingsGroup *addGroup(const QString &title);
    // Something else than a group, in the column's order.
    void addWidget(QWidget *widget);

private:
    QVBoxLayout *_column;
};

// Controls bound to preferences: each writes its key when the user changes it, and reads the
// store again when the settings file changed under it. The store is the state.
class PreferenceBindings
{
public:
    using Changed = std::function<void()>;

    explicit PreferenceBindings(Preferences &preferences)
        : _preferences(preferences)
    { }

    Preferences &preferences() const { return _preferences; }

    QCheckBox *toggle(const char *key, Changed changed = {});
    // A slider over [minimum, maximum] in steps of `step`; it stores the value of its step.
    // `released` runs once when a drag ends, and after each change made with the keyboard.
    QSlider *slider(const char *key, double minimum, double maximum, double step,
                    Changed released = {});
    // Two choices of a Boolean, each a radio button: the first stores true or false as its pair
    // says.
    QWidget *segmented(const char *key, std::pair<QString, bool> first,
                       std::pair<QString, bool> second);
    QLineEdit *textField(const char *key, const QString &placeholder);
    // A pop-up of (title, stored text) choices; a choice whose text is empty removes the key.
    QComboBox *popUp(const char *key, const std::vector<std::pair<QString, QString>> &choices,
                     const QString &fallback, Changed changed = {});

    // Shows every bound control's stored value again.
    void reload();
    // Runs with `reload`, for a control that isn't made here.
    void onReload(std::function<void()> reloader) { _reloaders.push_back(std::move(reloader)); }

private:
    // Shows the stored value now and at every reload.
    void bind(std::function<void()> read)
    {
        read();
        onReload(std::move(read));
    }

    Preferences &_preferences;
    std::vector<std::function<void()>> _reloaders;
};

} // namespace tarnvik
