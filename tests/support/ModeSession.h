#pragma once

// Click mode over the fake desktop, its windows and sounds recorded, for the tests of the mode
// and of what starts it.

#include "click/ClickUtils.h"
#include "click/CursorManager.h"
#include "click/DoubleClickManager.h"
#include "click/Mode.h"
#include "click/SearchBarWindowController.h"
#include "click/TargetsView.h"
#include "keyboard/InputSources.h"
#include "keyboard/SRGlobalShortcutMonitor.h"
#include "platform/AXNames.h"
#include "platform/SoundPlayer.h"
#include "platform/fake/FakeOverview.h"
#include "sounds/SoundEffectManager.h"
#include "support/FrontWindow.h"
#include "tutorial/TutorMode.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

namespace tarnvik::test {

using fake::FakeInput;

// Counts the sounds asked for; every name loads and lasts a tenth of a second.
class CountingSoundPlayer : public SoundPlayer
{
public:
    bool load(const std::string &, const std::string &, std::string &) override { return true; }
    double duration(const std::string &) const override { return 0.1; }
    void play(const std::string &name, float) override { ++plays[name]; }
    void unload(const std::string &) override { }
    std::map<std::string, int> plays;
};

struct Windows
{
    int targetsWindows = 0;
    int open = 0;
    int ordered = 0;
    int shows = 0;
    bool overOverview = false;
    bool labelsVisible = true;
    TargetsView *shown = nullptr;
    std::vector<KeyEvent> typed;
    std::string searchText;
    std::function<void()> textChanged;
};

class RecordingTargetsWindow : public TargetsWindow
{
public:
    explicit RecordingTargetsWindow(Windows &w)
        : _w(w)
    {
        ++_w.targetsWindows;
        ++_w.open;
        _w.labelsVisible = true;
    }
    void orderFront() override { ++_w.ordered; }
    void close() override
    {
        if (!_closed)
            --_w.open;
        _closed = true;
    }
    void show(TargetsView &view) override
    {
        ++_w.shows;
        _w.shown = &view;
        view.layoutLabels(std::vector<CGSize>(view.labels().size(), CGSize {15, 19}),
                          makeRect(0, 0, 1440, 900));
    }
    void update() override { }
    void setLabelsVisible(bool visible) override { _w.labelsVisible = visible; }
    void playClickAnimation(std::function<void()> completion) override
    {
        if (completion && _w.shown && _w.shown->focusedElement())
            completion();
    }

private:
    Windows &_w;
    bool _closed = false;
};

class RecordingSearchBar : public SearchBarWindow
{
public:
    explicit RecordingSearchBar(Windows &w)
        : _w(w)
    { }
    void orderFront() override { ++_w.ordered; }
    void close() override { }
    std::string text() const override { return _w.searchText; }
    void setText(const std::string &text) override { _w.searchText = text; }
    void onTextChanged(std::function<void()> handler) override { _w.textChanged = handler; }
    void typeKey(const KeyEvent &event) override
    {
        _w.typed.push_back(event);
        if (event.type == EventType::keyDown && !event.characters.empty()) {
            _w.searchText += event.characters;
            if (_w.textChanged)
                _w.textChanged();
        }
    }
    CGSize size() const override { return {250, 40}; }
    void moveTo(CGPoint) override { }
    void stopProgress() override { }

private:
    Windows &_w;
};

// The tutor's windows as a record: what the last one shows, and how many are open.
struct RecordingTutorViews : TutorViews
{
    struct Shown
    {
        CGRect frame;
        bool boxHidden = false;
        std::vector<TutorRow> rows;
    };
    struct Window : TutorWindow
    {
        explicit Window(RecordingTutorViews &owner)
            : views(owner)
        {
            ++views.open;
        }
        void orderFront() override { }
        void close() override { --views.open; }
        void clear() override { views.shown.reset(); }
        void show(CGRect frame, bool boxHidden, const std::vector<TutorRow> &rows) override
        {
            views.shown = Shown {frame, boxHidden, rows};
        }
        RecordingTutorViews &views;
    };
    std::unique_ptr<TutorWindow> createTutorWindow() override
    {
        return std::make_unique<Window>(*this);
    }
    int open = 0;
    std::optional<Shown> shown;
};

class RecordingViews : public ModeViews
{
public:
    std::unique_ptr<TargetsWindow> createTargetsWindow(const Screen &, bool overOverview) override
    {
        w.overOverview = overOverview;
        return std::make_unique<RecordingTargetsWindow>(w);
    }
    std::unique_ptr<SearchBarWindow> createSearchBar() override
    {
        return std::make_unique<RecordingSearchBar>(w);
    }
    Windows w;
};

// A folder with the four sound files, empty: the player here only counts.
inline std::string soundFiles()
{
    const auto dir = std::filesystem::temp_directory_path() / "tarnvik-mode-test-sounds";
    std::filesystem::create_directories(dir);
    for (const char *name : SoundEffectManager::soundNames)
        std::ofstream(dir / (std::string(name) + SoundEffectManager::fileExtension));
    return dir.string();
}

class ModeTest : public ::testing::Test, protected test::FrontWindow
{
protected:
    ModeTest()
    {
        // Three buttons get the labels S, A and D, in document order.
        for (int i = 0; i < 3; ++i)
            window.add("AXButton", makeRect(10 + 100 * i, 40, 80, 24))
                .title("Button " + std::to_string(i))
                .actions({AXPressAction});
        window.add("AXTextField", makeRect(10, 100, 200, 24)).title("Name");
        desktop.setFrontmost(1);
        desktop.setMenuBarOwner(1);
        desktop.setCurrentProcess(99);
        treeQueue.hold = false;
    }

    Mode::Services services()
    {
        return {.platform = {desktop, desktop, desktop},
                .screens = screens,
                .preferences = preferences,
                .scheduler = scheduler,
                .keyboard = input,
                .keyboardLayout = input,
                .pointerMotion = input,
                .cursor = cursor,
                .events = input,
                .sounds = sounds,
                .views = views,
                .doubleClick = doubleClick,
                .treeQueue = treeQueue,
                .searchQueue = searchQueue,
                .inputSources = inputSources,
                .tutorMode = tutorMode,
                .overview = overview,
                .overviewKeyboard = input,
                .reduceMotion = [this] {
                    return reduceMotion;
                }};
    }

    std::vector<FakeInput::MouseEvent> presses() const
    {
        std::vector<FakeInput::MouseEvent> result;
        for (const auto &e : input.mouseEvents())
            if (e.button >= 0 && e.down)
                result.push_back(e);
        return result;
    }

    fake::FakeOverview overview;
    bool reduceMotion = false;
    CursorManager cursor {input};
    InputSources inputSources {input};
    RecordingTutorViews tutorViews;
    TutorMode tutorMode {{.views = tutorViews,
                          .focusedElement = [this] { return mode.focusedElement(); },
                          .firstScreenHeight =
                              [] {
                                  return 900.0;
                              }}};
    CountingSoundPlayer player;
    SoundEffectManager sounds {player, preferences, soundFiles()};
    RecordingViews views;
    SRGlobalShortcutMonitor shortcuts {input};
    DoubleClickManager doubleClick {scheduler, shortcuts};
    test::HeldQueue treeQueue;
    fake::InlineWorkQueue searchQueue;
    Mode mode {services()};
};

} // namespace tarnvik::test
