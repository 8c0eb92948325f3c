#pragma once

namespace tarnvik::linux {
class LinuxDesktop;
}

namespace tarnvik {

// The menu bar counts as on screen while the frontmost application shows one.
void wireMenubarFrame(linux::LinuxDesktop &desktop);

} // namespace tarnvik
