#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tarnvik {

// One running application, as the rules that single out applications see it.
struct RunningApplication
{
    pid_t processIdentifier = 0;
    // The identifier the rules match exactly ("org.mozilla.firefox"); a backend maps its own
    // identities onto these.
    std::optional<std::string> bundleIdentifier;
    // The bundle's path: what the ignore list stores.
    std::optional<std::string> bundlePath;
    std::optional<std::string> localizedName;
    std::optional<std::string> iconPath;

    friend bool operator==(const RunningApplication &, const RunningApplication &) = default;
};

// The running applications and which of them is in front.
class Workspace
{
public:
    virtual ~Workspace() = default;

    virtual std::optional<RunningApplication> frontmostApplication() = 0;
    virtual std::optional<RunningApplication> menuBarOwningApplication() = 0;
    virtual std::vector<RunningApplication> runningApplications() = 0;
    virtual pid_t currentProcessIdentifier() = 0;

    // Calls `observer` on the main thread each time another application comes to the front,
    // after the observers added before it.
    virtual void observeActivations(std::function<void(const RunningApplication &)> observer) = 0;

    // In the order of runningApplications().
    std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string &id);
    std::optional<RunningApplication> runningApplicationWithProcessIdentifier(pid_t pid);
};

} // namespace tarnvik
