#pragma once

#include "platform/Overview.h"

namespace tarnvik::fake {

// An overview that opens, moves and closes when a test says, and records what was drawn over
// it and what was picked.
class FakeOverview final : public Overview
{
public:
    void observe(std::function<void()> report) override { _report = std::move(report); }
    bool isOpen() override { return open; }
    std::optional<AXUIElement> rootElement() override
    {
        return open ? root : std::optional<AXUIElement>();
    }
    std::map<std::string, CGRect> previewFrames() override
    {
        return open ? frames : decltype(frames) {};
    }
    std::vector<OverviewWindow> windows() override { return shownWindows; }
    std::optional<std::string> unavailable() override { return unavailableReason; }
    void showLabels(const std::vector<OverviewLabel> &shown) override { labels = shown; }
    void showImages(const std::vector<OverviewImage> &shown) override { images = shown; }
    bool hasImage(const std::string &) override { return false; }
    void setLabelsVisible(bool visible) override { labelsVisible = visible; }
    void clearLabels() override { labels.clear(); }
    // The sessions' panels are views' business, which the core's tests don't draw.
    void showPanel(const OverviewImage &) override { }
    void hidePanel(const std::string &) override { }
    bool pick(CGPoint point) override
    {
        picks.push_back(point);
        open = false;
        return true;
    }

    // The overview's report, as the desktop would send it.
    void report()
    {
        if (_report)
            _report();
    }

    bool open = false;
    std::optional<AXUIElement> root;
    std::map<std::string, CGRect> frames;
    std::vector<OverviewWindow> shownWindows;
    std::optional<std::string> unavailableReason;
    std::vector<OverviewLabel> labels;
    std::vector<OverviewImage> images;
    bool labelsVisible = true;
    std::vector<CGPoint> picks;

private:
    std::function<void()> _report;
};

} // namespace tarnvik::fake
