#include "platform/Workspace.h"

namespace tarnvik {

std::vector<RunningApplication>
Workspace::runningApplicationsWithBundleIdentifier(const std::string &id)
{
    std::vector<RunningApplication> result;
    for (auto &app : runningApplications()) {
        if (app.bundleIdentifier == id)
            result.push_back(std::move(app));
    }
    return result;
}

std::optional<RunningApplication> Workspace::runningApplicationWithProcessIdentifier(pid_t pid)
{
    for (auto &app : runningApplications()) {
        if (app.processIdentifier == pid)
            return std::move(app);
    }
    return std::nullopt;
}

} // namespace tarnvik
