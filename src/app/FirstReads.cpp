#include "app/FirstReads.h"

#include "accessibility/AXEnablerService.h"
#include "platform/WorkQueue.h"

namespace tarnvik {

void FirstReads::start()
{
    auto &workspace = _services.reading.platform.workspace;
    if (auto app = workspace.frontmostApplication())
        readIfNew(*app);
    workspace.observeActivations([this](const RunningApplication &app) { readIfNew(app); });
}

void FirstReads::readIfNew(const RunningApplication &app)
{
    const pid_t pid = app.processIdentifier;
    if (pid == _services.reading.platform.workspace.currentProcessIdentifier()
        || AXEnablerService::isIgnored(app, _services.reading.preferences)
        || !_read.insert(pid).second)
        return;
    // Another application may have come to the front by the time the work runs: that one is
    // read when its own turn comes, and this one is left unread.
    _services.queue.async([pid, services = _services.reading] {
        const auto front = services.platform.workspace.frontmostApplication();
        if (front && front->processIdentifier == pid)
            (void)FrontmostReader(services).read(false);
    });
}

} // namespace tarnvik
