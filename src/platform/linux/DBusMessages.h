#pragma once

// The AT-SPI types as they travel on D-Bus, and the reading and writing of messages with
// libdbus. Only the Linux backend includes this.

#include <cstdint>
#include <dbus/dbus.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarnvik::linux {

// (so): an object as the bus addresses it.
struct ObjectRef
{
    std::string service;
    std::string path;
    bool isNull() const { return service.empty() || path == "/org/a11y/atspi/null"; }
    std::string key() const { return service + '\n' + path; }
};

// (iiii) of Component.GetExtents.
struct Extents
{
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

// One entry of Cache.GetItems: a((so)(so)(so)iiassusau).
struct CacheItem
{
    ObjectRef object;
    ObjectRef parent;
    std::int32_t indexInParent = 0;
    std::int32_t childCount = 0;
    std::vector<std::string> interfaces;
    std::string name;
    std::uint32_t role = 0;
    std::string description;
    std::vector<std::uint32_t> states;
};

// (aiia{ss}iaiiasib): the rule of Collection.GetMatches.
struct MatchRule
{
    std::vector<std::int32_t> states;
    std::int32_t stateMatchType = 0;
    std::int32_t attributeMatchType = 0;
    std::vector<std::int32_t> roles;
    std::int32_t roleMatchType = 0;
    std::int32_t interfaceMatchType = 0;
};

using Argument = std::variant<std::uint32_t, std::int32_t, bool, std::string, MatchRule>;

struct MessageDeleter
{
    void operator()(DBusMessage *m) const { dbus_message_unref(m); }
};
using Message = std::unique_ptr<DBusMessage, MessageDeleter>;

Message methodCall(const char *destination, const std::string &path, const char *interface,
                   const char *method, const std::vector<Argument> &arguments);

// Readers of a reply's first argument; nothing when it has another shape. A property read
// (Properties.Get) answers a variant, which the `Variant` readers unwrap.
std::optional<std::uint32_t> readUint(DBusMessage *m);
std::optional<std::int32_t> readIntVariant(DBusMessage *m);
std::optional<std::string> readString(DBusMessage *m);
std::optional<std::string> readStringVariant(DBusMessage *m);
std::optional<bool> readBool(DBusMessage *m);
std::optional<bool> readBoolVariant(DBusMessage *m);
std::optional<ObjectRef> readObject(DBusMessage *m);
std::optional<ObjectRef> readObjectVariant(DBusMessage *m);
std::optional<std::vector<ObjectRef>> readObjects(DBusMessage *m);
// The targets of the relations of one type in a(ua(so)) of Accessible.GetRelationSet.
std::optional<std::vector<ObjectRef>> readRelationTargets(DBusMessage *m, std::uint32_t type);
std::optional<Extents> readExtents(DBusMessage *m);
std::optional<std::vector<std::uint32_t>> readUints(DBusMessage *m);
std::optional<std::map<std::string, std::string>> readStringMap(DBusMessage *m);
// The names of `Action.GetActions`' (name, description, key binding) triples.
std::optional<std::vector<std::string>> readActionNames(DBusMessage *m);
std::optional<std::vector<CacheItem>> readCacheItems(DBusMessage *m);

} // namespace tarnvik::linux
