#pragma once

#include "scroll/ScrollViews.h"

#include <memory>

namespace tarnvik::test {

// Scroll mode's overlay as a record: how many are open and what the last one shows.
struct RecordingScrollViews : ScrollViews
{
    struct Window : ScrollWindow
    {
        explicit Window(RecordingScrollViews &owner)
            : views(owner)
        {
            ++views.open;
        }
        void orderFront() override { ++views.ordered; }
        void close() override { --views.open; }
        void show(const ScrollState &state) override { views.shown = state; }
        RecordingScrollViews &views;
    };
    std::unique_ptr<ScrollWindow> createScrollWindow(const Screen &) override
    {
        return std::make_unique<Window>(*this);
    }
    int open = 0;
    int ordered = 0;
    ScrollState shown;
};

} // namespace tarnvik::test
