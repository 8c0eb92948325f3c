#pragma once

#include "app/FrontmostReader.h"

#include <optional>
#include <string>

namespace tarnvik {

// `tarnvik targets` and `tarnvik tree`: the trees of the frontmost window read exactly as a
// label-mode activation reads them (a search mode one with --search), and what gets a label.
class TargetsCommand
{
public:
    struct Options
    {
        bool json = false;
        bool tree = false;
        std::optional<std::string> search;
        int repeat = 1;
    };

    using Services = FrontmostReader::Services;

    explicit TargetsCommand(Services services)
        : _services(services)
    { }

    // The exit status: 0, or 1 with the reason printed when there is no window to read.
    int run(const Options &options);

private:
    Services _services;
};

} // namespace tarnvik
