#pragma once

#include "platform/linux/CompositorWindows.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QSocketNotifier;

namespace tarnvik::wlroots {

// sway's IPC (the i3 protocol on the socket SWAYSOCK names): where sway places each window, which
// has the focus, and the outputs. Each question opens a connection of its own, so any thread may
// ask; a compositor that does not answer within a second is taken as knowing nothing.
class SwayIpc final : public linux::CompositorWindowSource
{
public:
    // Nothing when SWAYSOCK names no socket that answers.
    static std::unique_ptr<SwayIpc> connect();
    ~SwayIpc() override;
    SwayIpc(const SwayIpc &) = delete;
    SwayIpc &operator=(const SwayIpc &) = delete;

    std::vector<linux::CompositorWindow> frames() const override;
    std::vector<linux::CompositorMonitor> monitors() const override;
    void onFocusChanged(std::function<void()> handler) override;
    // The command of each key binding of sway's as it runs: a binding to `nop ...` runs nothing
    // in sway and reaches its listeners at once. One instance serves this or onFocusChanged.
    void onBinding(std::function<void(const std::string &command)> handler);

private:
    explicit SwayIpc(std::string socketPath);
    std::optional<QByteArray> ask(std::uint32_t type, const QByteArray &payload = {}) const;
    // The events of `kinds` (a JSON array of their names) on a connection of their own.
    bool listen(const char *kinds);
    void eventsReady();

    std::string _socketPath;
    int _events = -1;
    std::unique_ptr<QSocketNotifier> _eventNotifier;
    std::function<void()> _focusChanged;
    std::function<void(const std::string &)> _binding;
};

// The windows in sway's GET_TREE reply, the focused one first: frames include sway's own borders
// and title bar, buffers are what the client draws.
std::vector<linux::CompositorWindow> swayWindows(const QByteArray &tree);
// The outputs in sway's GET_OUTPUTS reply, the focused one first; inactive ones left out.
std::vector<linux::CompositorMonitor> swayOutputs(const QByteArray &outputs);

} // namespace tarnvik::wlroots
