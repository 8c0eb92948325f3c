#include "platform/fake/FakeWindowGenerator.h"

#include "platform/AXNames.h"

#include <cmath>
#include <optional>
#include <random>
#include <string>

namespace tarnvik::fake {

namespace {

const char *const words[] = {"Open",   "Save",     "Close",  "Print",   "Share",   "Export",
                             "Import", "Settings", "Search", "Sign in", "Help",    "Delete",
                             "Rename", "Copy",     "Paste",  "Undo",    "Archive", "Reply"};

class Generator
{
public:
    Generator(std::uint32_t seed)
        : _random(seed)
    { }

    // Adds one block of a random kind inside `area`; returns the elements it made.
    std::size_t block(const FakeElement &parent, CGRect area)
    {
        switch (_random() % 6) {
        case 0:
            return buttonGroup(parent, area);
        case 1:
            return form(parent, area);
        case 2:
            return table(parent, area);
        case 3:
            return web(parent, area);
        case 4:
            return list(parent, area);
        default:
            return textGroup(parent, area);
        }
    }

private:
    std::string word() { return words[_random() % std::size(words)]; }
    std::string label() { return word() + " " + std::to_string(++_counter); }

    // The i-th of n horizontal strips of an area.
    static CGRect strip(CGRect area, int i, int n)
    {
        const double h = area.size.height / n;
        return makeRect(area.origin.x, area.origin.y + h * i, area.size.width, h);
    }

    static CGRect inset(CGRect r, double by)
    {
        return makeRect(r.origin.x + by, r.origin.y + by, std::max(0.0, r.size.width - 2 * by),
                        std::max(0.0, r.size.height - 2 * by));
    }

    std::size_t buttonGroup(const FakeElement &parent, CGRect area)
    {
        auto group = parent.add("AXGroup", area);
        std::size_t n = 1;
        for (int i = 0; i < 4; ++i) {
            const CGRect r = inset(strip(area, i, 4), 1);
            auto button = group.add("AXButton", r).title(label()).actions({AXPressAction});
            button.add("AXStaticText", inset(r, 2)).value(word());
            button.add("AXImage", makeRect(r.origin.x, r.origin.y, 4, r.size.height));
            n += 3;
        }
        return n;
    }

    std::size_t form(const FakeElement &parent, CGRect area)
    {
        auto group = parent.add("AXGroup", area);
        group.add("AXStaticText", inset(strip(area, 0, 6), 1)).value(label());
        group.add("AXTextField", inset(strip(area, 1, 6), 1)).description(word());
        group.add("AXCheckBox", inset(strip(area, 2, 6), 1)).title(label());
        group.add("AXRadioButton", inset(strip(area, 3, 6), 1)).title(label());
        group.add("AXRadioButton", inset(strip(area, 4, 6), 1)).title(label());
        auto popup = group.add("AXPopUpButton", inset(strip(area, 5, 6), 1)).title(word());
        popup.add("AXStaticText", inset(strip(area, 5, 6), 3)).value(word());
        return 8;
    }

    std::size_t table(const FakeElement &parent, CGRect area)
    {
        auto scroll = parent.add("AXScrollArea", area);
        // Taller than its scroll area: the last rows are scrolled out.
        const CGRect content =
            makeRect(area.origin.x, area.origin.y, area.size.width, area.size.height * 1.4);
        auto table = scroll.add("AXTable", content);
        std::vector<FakeElement> visibleRows;
        std::size_t n = 2;
        for (int i = 0; i < 7; ++i) {
            const CGRect r = strip(content, i, 7);
            const std::string name = label();
            auto row = table.add("AXRow", r).title(name);
            for (int c = 0; c < 3; ++c) {
                const CGRect cell = makeRect(r.origin.x + r.size.width * c / 3, r.origin.y,
                                             r.size.width / 3, r.size.height);
                auto cellElement = row.add("AXCell", cell);
                if (c == 2)
                    cellElement.add("AXButton", inset(cell, 1)).title(word()).actions({"AXPress"});
                else if (c == 0)
                    cellElement.add("AXStaticText", inset(cell, 1)).value(name);
                n += 2;
            }
            n += 1;
            if (r.origin.y < area.origin.y + area.size.height)
                visibleRows.push_back(row);
        }
        table.childList(NSAccessibilityVisibleRowsAttribute, visibleRows);
        return n;
    }

    std::size_t web(const FakeElement &parent, CGRect area)
    {
        auto page = parent.add("AXWebArea", area);
        std::size_t n = 1;
        for (int i = 0; i < 5; ++i) {
            const CGRect r = inset(strip(area, i, 5), 1);
            auto group = page.add("AXGroup", r);
            auto link = group.add("AXLink", inset(r, 1)).title(label()).actions({"AXPress"});
            link.add("AXStaticText", inset(r, 2)).value(word());
            group.add("AXImage", makeRect(r.origin.x, r.origin.y, 3, 3)).description(word());
            n += 4;
        }
        page.add("AXHeading", inset(strip(area, 0, 5), 3)).title(word());
        return n + 1;
    }

    std::size_t list(const FakeElement &parent, CGRect area)
    {
        auto list = parent.add("AXList", area);
        for (int i = 0; i < 6; ++i) {
            const CGRect r = strip(area, i, 6);
            const std::string name = label();
            list.add("AXRow", r).title(name).add("AXStaticText", inset(r, 1)).value(name);
        }
        return 13;
    }

    std::size_t textGroup(const FakeElement &parent, CGRect area)
    {
        const std::string first = word();
        auto group = parent.add("AXGroup", area).description(first + " now");
        group.add("AXStaticText", inset(strip(area, 0, 2), 1)).value(first.substr(0, 2));
        group.add("AXStaticText", inset(strip(area, 1, 2), 1)).value(first.substr(2));
        return 3;
    }

    std::mt19937 _random;
    int _counter = 0;
};

} // namespace

GeneratedWindow generateWindow(FakeApplication &app, std::size_t elements, std::uint32_t seed,
                               CGRect frame)
{
    Generator generator(seed);
    auto window = app.addWindow(frame, "Generated");
    const CGRect toolbarFrame = makeRect(frame.origin.x, frame.origin.y, frame.size.width, 40);
    auto toolbar = window.add("AXToolbar", toolbarFrame);
    std::size_t made = 2;
    for (int i = 0; i < 8; ++i) {
        auto button = toolbar.add("AXButton", makeRect(frame.origin.x + 8 + 48 * i, 4, 40, 32))
                          .description("Tool " + std::to_string(i))
                          .actions({AXPressAction});
        button.add("AXImage", makeRect(frame.origin.x + 16 + 48 * i, 8, 24, 24));
        made += 2;
    }
    // Blocks in a grid that fills the content, the last rows below the window's edge.
    const CGRect content =
        makeRect(frame.origin.x, frame.origin.y + 40, frame.size.width, frame.size.height - 40);
    const double blocks = std::max(1.0, static_cast<double>(elements) / 8.0);
    const auto columns = static_cast<int>(std::ceil(std::sqrt(blocks * 1.6)));
    const double width = content.size.width / columns;
    const double height = width / 1.6 * 0.9;
    auto scroll = window.add("AXScrollArea", content);
    made += 1;
    // One group per row of blocks, as real layouts nest: no element holds more than a row.
    std::optional<FakeElement> row;
    for (int i = 0; made < elements; ++i) {
        const double y = content.origin.y + height * (i / columns);
        if (i % columns == 0) {
            row = scroll.add("AXGroup", makeRect(content.origin.x, y, content.size.width, height));
            made += 1;
        }
        const CGRect area =
            makeRect(content.origin.x + width * (i % columns), y, width - 2, height - 2);
        made += generator.block(*row, area);
    }
    return {window, made};
}

} // namespace tarnvik::fake
