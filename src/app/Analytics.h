#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>

namespace tarnvik {

class Preferences;

// Where analytics would go. The program ships none that leaves the machine: without a sink
// nothing is sent and nothing is written.
class AnalyticsSink
{
public:
    using Properties = std::map<std::string, std::variant<bool, std::string>>;

    virtual ~AnalyticsSink() = default;
    virtual void identify(const std::string &distinctId, const Properties &properties) = 0;
    virtual void reset() = 0;
};

// The identity of the person using the program, told to the sink when it changes. This
// program has no accounts, so no user id is known unless one is given.
class Analytics
{
public:
    Analytics(const Preferences &preferences, AnalyticsSink *sink)
        : _preferences(preferences)
        , _sink(sink)
    { }

    // Identifies `knownUserId` with the person properties as they stand now, or forgets the
    // identity when none is known any more.
    void applyIdentity(const std::optional<std::string> &knownUserId);

    const std::optional<std::string> &userId() const { return _userId; }

private:
    const Preferences &_preferences;
    AnalyticsSink *_sink;
    std::optional<std::string> _userId;
};

} // namespace tarnvik
