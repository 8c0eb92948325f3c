#pragma once

#include <string>
#include <vector>

namespace tarnvik {

class Preferences;

// The short strings the user types to pick an element: prefix-free, shortest first.
class LabelMaker
{
public:
    // The alphabet of the user's "label-characters", or the default one: each entry one
    // user-perceived character, upper case.
    static std::vector<std::string> labelCharacters(const Preferences &preferences);

    // Exactly `count` labels; a negative count is a programming fault and ends the process.
    static std::vector<std::string> makeLabels(const std::vector<std::string> &characters,
                                               long count);
};

} // namespace tarnvik
