#include "platform/linux/AtspiSwitch.h"

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/AtspiBus.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

namespace tarnvik::linux {

bool AtspiSwitch::switchOn()
{
    return _bus.enableAccessibility(AtspiAccessibility::defaultTimeoutMs);
}

std::vector<std::string> AtspiSwitch::applicationsToRestart()
{
    std::set<pid_t> onTheBus;
    for (const auto &app : _bus.applications(AtspiAccessibility::defaultTimeoutMs))
        if (auto pid = _bus.processOf(app.service, AtspiAccessibility::defaultTimeoutMs))
            onTheBus.insert(*pid);
    std::vector<std::string> names;
    for (const auto &app : _workspace.runningApplications()) {
        const auto &name = app.localizedName;
        if (!name || onTheBus.contains(app.processIdentifier)
            || std::ranges::find(names, *name) != names.end()
            || !decidesAtStart(app.processIdentifier))
            continue;
        names.push_back(*name);
    }
    return names;
}

bool AtspiSwitch::decidesAtStart(pid_t pid)
{
    namespace fs = std::filesystem;
    const fs::path process = fs::path("/proc") / std::to_string(pid);
    std::error_code error;
    // Chromium and every Electron application ship their resource packs beside the program.
    const auto exe = fs::read_symlink(process / "exe", error);
    if (!error && fs::exists(exe.parent_path() / "chrome_100_percent.pak", error))
        return true;
    std::ifstream maps(process / "maps");
    std::string line;
    while (std::getline(maps, line))
        if (line.find("libQt5Core.so") != std::string::npos
            || line.find("libQt6Core.so") != std::string::npos)
            return true;
    return false;
}

} // namespace tarnvik::linux
