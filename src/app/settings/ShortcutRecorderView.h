#pragma once

#include "keyboard/RecordingSlot.h"
#include "keyboard/SRShortcut.h"

#include <QPushButton>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tarnvik {

class Preferences;
class SRGlobalShortcutMonitor;

// Records the key combination of one shortcut preference by key position. Pressed, it records:
// the next combination that the rules take ends the recording and is stored; modifiers pressed
// and let go with no key record the modifiers alone; losing the focus ends it as it stands.
// While it records, the program's own hot keys are paused, so that the current shortcut can be
// recorded again instead of starting a mode.
class ShortcutRecorderView : public QPushButton, public RecordingControl
{
public:
    struct Services
    {
        Preferences &preferences;
        SRGlobalShortcutMonitor &shortcuts;
        // The key position of a key event's native scan code; nothing for a key without one.
        std::function<std::optional<std::uint16_t>(std::uint32_t)> keyCodeOfScanCode;
        // Wires the shortcuts anew, after a recording.
        std::function<void()> rewireShortcuts;
        // Where the Hyperkey finds the control that records.
        RecordingSlot &recordingSlot;
        // Whether a key pressed now comes with the Hyperkey held: it then carries ⌃⌥⇧⌘.
        std::function<bool()> hyperKeyDown;
    };

    ShortcutRecorderView(const char *userDefaultsKey, Services services, QWidget *parent = nullptr);
    ~ShortcutRecorderView() override;

    bool isRecording() const { return _recording; }
    void beginRecording();
    void endRecording();
    // Shows the stored shortcut again.
    void reload();
    // The Hyperkey alone, recorded.
    void takeShortcut(const SRShortcut &shortcut) override;

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    std::optional<SRShortcut> stored() const;
    void offer(const SRShortcut &candidate);
    void showValue();

    const char *_userDefaultsKey;
    Services _services;
    std::optional<SRShortcut> _value;
    bool _recording = false;
    // The modifiers held together since the last key, for a recording of modifiers alone.
    std::uint64_t _heldModifiers = 0;
};

} // namespace tarnvik
