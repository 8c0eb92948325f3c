#pragma once

#include "platform/linux/CompositorWindows.h"

#include <QDBusContext>
#include <QObject>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tarnvik::kwin {

// KWin's windows, told by a script this program loads into KWin (its scripting service on the
// session bus): the script reports every window's frame and the focus each time they change,
// so a question costs no round trip. Unloaded again when this goes.
class KWinScript final : public QObject, public QDBusContext, public linux::CompositorWindowSource
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.ostrelline.Tarnvik.KWin")

public:
    // Nothing when KWin's scripting service does not answer, or the script reports nothing
    // within a second.
    static std::unique_ptr<KWinScript> load();
    ~KWinScript() override;

    std::vector<linux::CompositorWindow> frames() const override;
    std::vector<linux::CompositorMonitor> monitors() const override;
    void onFocusChanged(std::function<void()> handler) override
    {
        _focusChanged = std::move(handler);
    }

public Q_SLOTS:
    // The script's report: the windows front first, and the screens. Taken from KWin only.
    Q_SCRIPTABLE bool Windows(const QString &report);

private:
    KWinScript() = default;
    bool start();

    QTemporaryDir _folder;
    QString _pluginName;
    QString _kwin;
    mutable std::mutex _mutex;
    std::vector<linux::CompositorWindow> _windows;
    std::vector<linux::CompositorMonitor> _screens;
    bool _reported = false;
    std::uint64_t _focused = 0;
    std::function<void()> _focusChanged;
};

// The windows and screens of a report, each front or active first.
std::pair<std::vector<linux::CompositorWindow>, std::vector<linux::CompositorMonitor>>
kwinReport(const QByteArray &json);

} // namespace tarnvik::kwin
