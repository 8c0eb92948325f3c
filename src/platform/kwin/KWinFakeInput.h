#pragma once

#include "platform/linux/VirtualPointer.h"
#include "platform/wayland/WaylandConnection.h"

#include <cstdint>
#include <memory>
#include <mutex>

struct org_kde_kwin_fake_input;

namespace tarnvik::kwin {

// KWin's fake input, on a Wayland connection of its own: the pointer's position, buttons and
// scrolling, and keys by their Linux input event codes. KWin offers it only to programs whose
// desktop entry (found by the Exec line's path) lists org_kde_kwin_fake_input under
// X-KDE-Wayland-Interfaces. Any thread may use it.
class KWinFakeInput final : public linux::PointerDevice, public linux::KeyDevice
{
public:
    // Nothing when KWin offers no fake input to this program.
    static std::unique_ptr<KWinFakeInput> connect();
    ~KWinFakeInput() override;
    KWinFakeInput(const KWinFakeInput &) = delete;
    KWinFakeInput &operator=(const KWinFakeInput &) = delete;

    // KWin places the pointer in its own logical pixels: the layout is not needed.
    void moveTo(CGPoint point, const CGRect &layout) override;
    void press(std::uint32_t button, bool down) override;
    void scroll(double vertical, double horizontal) override;
    void sync() override;
    // Keys share the pointer's connection, and so come in order with its events.
    void key(std::uint32_t code, bool down) override;

private:
    KWinFakeInput() = default;

    std::mutex _mutex;
    std::unique_ptr<wayland::WaylandConnection> _connection;
    org_kde_kwin_fake_input *_input = nullptr;
};

} // namespace tarnvik::kwin
