#include "platform/linux/DBusMessages.h"

namespace tarnvik::linux {

namespace {

void appendInts(DBusMessageIter &parent, const std::vector<std::int32_t> &values)
{
    DBusMessageIter array;
    dbus_message_iter_open_container(&parent, DBUS_TYPE_ARRAY, DBUS_TYPE_INT32_AS_STRING, &array);
    for (std::int32_t v : values)
        dbus_message_iter_append_basic(&array, DBUS_TYPE_INT32, &v);
    dbus_message_iter_close_container(&parent, &array);
}

void appendInt(DBusMessageIter &i, std::int32_t v)
{
    dbus_message_iter_append_basic(&i, DBUS_TYPE_INT32, &v);
}

void append(DBusMessageIter &i, const Argument &argument)
{
    if (const auto *u = std::get_if<std::uint32_t>(&argument)) {
        dbus_message_iter_append_basic(&i, DBUS_TYPE_UINT32, u);
    } else if (const auto *n = std::get_if<std::int32_t>(&argument)) {
        appendInt(i, *n);
    } else if (const auto *b = std::get_if<bool>(&argument)) {
        const dbus_bool_t v = *b;
        dbus_message_iter_append_basic(&i, DBUS_TYPE_BOOLEAN, &v);
    } else if (const auto *s = std::get_if<std::string>(&argument)) {
        const char *text = s->c_str();
        dbus_message_iter_append_basic(&i, DBUS_TYPE_STRING, &text);
    } else if (const auto *rule = std::get_if<MatchRule>(&argument)) {
        DBusMessageIter r;
        dbus_message_iter_open_container(&i, DBUS_TYPE_STRUCT, nullptr, &r);
        appendInts(r, rule->states);
        appendInt(r, rule->stateMatchType);
        DBusMessageIter attributes;
        dbus_message_iter_open_container(&r, DBUS_TYPE_ARRAY, "{ss}", &attributes);
        dbus_message_iter_close_container(&r, &attributes);
        appendInt(r, rule->attributeMatchType);
        appendInts(r, rule->roles);
        appendInt(r, rule->roleMatchType);
        DBusMessageIter interfaces;
        dbus_message_iter_open_container(&r, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING,
                                         &interfaces);
        dbus_message_iter_close_container(&r, &interfaces);
        appendInt(r, rule->interfaceMatchType);
        const dbus_bool_t invert = false;
        dbus_message_iter_append_basic(&r, DBUS_TYPE_BOOLEAN, &invert);
        dbus_message_iter_close_container(&i, &r);
    }
}

// The iterator at the first argument of a method return.
bool first(DBusMessage *m, DBusMessageIter &i)
{
    return m && dbus_message_get_type(m) == DBUS_MESSAGE_TYPE_METHOD_RETURN
        && dbus_message_iter_init(m, &i);
}

bool variant(DBusMessage *m, DBusMessageIter &inner)
{
    DBusMessageIter i;
    if (!first(m, i) || dbus_message_iter_get_arg_type(&i) != DBUS_TYPE_VARIANT)
        return false;
    dbus_message_iter_recurse(&i, &inner);
    return true;
}

template<class T>
std::optional<T> basic(DBusMessageIter &i, int type)
{
    if (dbus_message_iter_get_arg_type(&i) != type)
        return std::nullopt;
    T value {};
    dbus_message_iter_get_basic(&i, &value);
    return value;
}

std::optional<std::string> text(DBusMessageIter &i)
{
    const int type = dbus_message_iter_get_arg_type(&i);
    if (type != DBUS_TYPE_STRING && type != DBUS_TYPE_OBJECT_PATH)
        return std::nullopt;
    const char *s = nullptr;
    dbus_message_iter_get_basic(&i, &s);
    return std::string(s ? s : "");
}

std::optional<ObjectRef> object(DBusMessageIter &i)
{
    if (dbus_message_iter_get_arg_type(&i) != DBUS_TYPE_STRUCT)
        return std::nullopt;
    DBusMessageIter s;
    dbus_message_iter_recurse(&i, &s);
    auto service = text(s);
    dbus_message_iter_next(&s);
    auto path = text(s);
    if (!service || !path)
        return std::nullopt;
    return ObjectRef {std::move(*service), std::move(*path)};
}

// Calls `each` with an iterator at every element of the array at `i`.
template<class F>
bool forEach(DBusMessageIter &i, F each)
{
    if (dbus_message_iter_get_arg_type(&i) != DBUS_TYPE_ARRAY)
        return false;
    DBusMessageIter a;
    dbus_message_iter_recurse(&i, &a);
    while (dbus_message_iter_get_arg_type(&a) != DBUS_TYPE_INVALID) {
        if (!each(a))
            return false;
        dbus_message_iter_next(&a);
    }
    return true;
}

std::optional<std::vector<std::uint32_t>> uints(DBusMessageIter &i)
{
    std::vector<std::uint32_t> values;
    const bool ok = forEach(i, [&](DBusMessageIter &e) {
        auto v = basic<std::uint32_t>(e, DBUS_TYPE_UINT32);
        if (v)
            values.push_back(*v);
        return v.has_value();
    });
    return ok ? std::optional(values) : std::nullopt;
}

std::optional<std::vector<std::string>> strings(DBusMessageIter &i)
{
    std::vector<std::string> values;
    const bool ok = forEach(i, [&](DBusMessageIter &e) {
        auto v = text(e);
        if (v)
            values.push_back(std::move(*v));
        return v.has_value();
    });
    return ok ? std::optional(values) : std::nullopt;
}

} // namespace

Message methodCall(const char *destination, const std::string &path, const char *interface,
                   const char *method, const std::vector<Argument> &arguments)
{
    Message m(dbus_message_new_method_call(destination, path.c_str(), interface, method));
    DBusMessageIter i;
    dbus_message_iter_init_append(m.get(), &i);
    for (const auto &a : arguments)
        append(i, a);
    return m;
}

std::optional<std::uint32_t> readUint(DBusMessage *m)
{
    DBusMessageIter i;
    return first(m, i) ? basic<std::uint32_t>(i, DBUS_TYPE_UINT32) : std::nullopt;
}

std::optional<std::int32_t> readIntVariant(DBusMessage *m)
{
    DBusMessageIter i;
    return variant(m, i) ? basic<std::int32_t>(i, DBUS_TYPE_INT32) : std::nullopt;
}

std::optional<std::string> readString(DBusMessage *m)
{
    DBusMessageIter i;
    return first(m, i) ? text(i) : std::nullopt;
}

std::optional<std::string> readStringVariant(DBusMessage *m)
{
    DBusMessageIter i;
    return variant(m, i) ? text(i) : std::nullopt;
}

std::optional<bool> readBool(DBusMessage *m)
{
    DBusMessageIter i;
    if (!first(m, i))
        return std::nullopt;
    auto v = basic<dbus_bool_t>(i, DBUS_TYPE_BOOLEAN);
    return v ? std::optional(*v != 0) : std::nullopt;
}

std::optional<bool> readBoolVariant(DBusMessage *m)
{
    DBusMessageIter i;
    if (!variant(m, i))
        return std::nullopt;
    auto v = basic<dbus_bool_t>(i, DBUS_TYPE_BOOLEAN);
    return v ? std::optional(*v != 0) : std::nullopt;
}

std::optional<ObjectRef> readObject(DBusMessage *m)
{
    DBusMessageIter i;
    return first(m, i) ? object(i) : std::nullopt;
}

std::optional<ObjectRef> readObjectVariant(DBusMessage *m)
{
    DBusMessageIter i;
    return variant(m, i) ? object(i) : std::nullopt;
}

namespace {

// Appends the objects of an a(so) to `objects`; false for anything else.
bool appendObjects(DBusMessageIter &i, std::vector<ObjectRef> &objects)
{
    return forEach(i, [&](DBusMessageIter &e) {
        auto o = object(e);
        if (o)
            objects.push_back(std::move(*o));
        return o.has_value();
    });
}

} // namespace

std::optional<std::vector<ObjectRef>> readObjects(DBusMessage *m)
{
    DBusMessageIter i;
    if (!first(m, i))
        return std::nullopt;
    std::vector<ObjectRef> objects;
    return appendObjects(i, objects) ? std::optional(objects) : std::nullopt;
}

std::optional<std::vector<ObjectRef>> readRelationTargets(DBusMessage *m, std::uint32_t type)
{
    DBusMessageIter i;
    if (!first(m, i))
        return std::nullopt;
    std::vector<ObjectRef> targets;
    const bool ok = forEach(i, [&](DBusMessageIter &relation) {
        if (dbus_message_iter_get_arg_type(&relation) != DBUS_TYPE_STRUCT)
            return false;
        DBusMessageIter fields;
        dbus_message_iter_recurse(&relation, &fields);
        const auto kind = basic<std::uint32_t>(fields, DBUS_TYPE_UINT32);
        if (!kind || !dbus_message_iter_next(&fields))
            return false;
        return *kind != type || appendObjects(fields, targets);
    });
    return ok ? std::optional(targets) : std::nullopt;
}

std::optional<Extents> readExtents(DBusMessage *m)
{
    DBusMessageIter i;
    if (!first(m, i) || dbus_message_iter_get_arg_type(&i) != DBUS_TYPE_STRUCT)
        return std::nullopt;
    DBusMessageIter s;
    dbus_message_iter_recurse(&i, &s);
    std::int32_t v[4] = {};
    for (auto &field : v) {
        auto n = basic<std::int32_t>(s, DBUS_TYPE_INT32);
        if (!n)
            return std::nullopt;
        field = *n;
        dbus_message_iter_next(&s);
    }
    return Extents {v[0], v[1], v[2], v[3]};
}

std::optional<std::vector<std::uint32_t>> readUints(DBusMessage *m)
{
    DBusMessageIter i;
    return first(m, i) ? uints(i) : std::nullopt;
}

std::optional<std::map<std::string, std::string>> readStringMap(DBusMessage *m)
{
    DBusMessageIter i;
    if (!first(m, i))
        return std::nullopt;
    std::map<std::string, std::string> values;
    const bool ok = forEach(i, [&](DBusMessageIter &e) {
        if (dbus_message_iter_get_arg_type(&e) != DBUS_TYPE_DICT_ENTRY)
            return false;
        DBusMessageIter entry;
        dbus_message_iter_recurse(&e, &entry);
        auto key = text(entry);
        dbus_message_iter_next(&entry);
        auto value = text(entry);
        if (key && value)
            values.emplace(std::move(*key), std::move(*value));
        return key && value;
    });
    return ok ? std::optional(values) : std::nullopt;
}

std::optional<std::vector<std::string>> readActionNames(DBusMessage *m)
{
    DBusMessageIter i;
    if (!first(m, i))
        return std::nullopt;
    std::vector<std::string> names;
    const bool ok = forEach(i, [&](DBusMessageIter &e) {
        if (dbus_message_iter_get_arg_type(&e) != DBUS_TYPE_STRUCT)
            return false;
        DBusMessageIter action;
        dbus_message_iter_recurse(&e, &action);
        auto name = text(action);
        if (name)
            names.push_back(std::move(*name));
        return name.has_value();
    });
    return ok ? std::optional(names) : std::nullopt;
}

std::optional<std::vector<CacheItem>> readCacheItems(DBusMessage *m)
{
    DBusMessageIter i;
    if (!first(m, i))
        return std::nullopt;
    std::vector<CacheItem> items;
    const bool ok = forEach(i, [&](DBusMessageIter &e) {
        if (dbus_message_iter_get_arg_type(&e) != DBUS_TYPE_STRUCT)
            return false;
        DBusMessageIter s;
        dbus_message_iter_recurse(&e, &s);
        CacheItem item;
        auto objectRef = object(s);
        dbus_message_iter_next(&s); // the application
        dbus_message_iter_next(&s);
        auto parent = object(s);
        dbus_message_iter_next(&s);
        auto index = basic<std::int32_t>(s, DBUS_TYPE_INT32);
        dbus_message_iter_next(&s);
        auto children = basic<std::int32_t>(s, DBUS_TYPE_INT32);
        dbus_message_iter_next(&s);
        auto interfaces = strings(s);
        dbus_message_iter_next(&s);
        auto name = text(s);
        dbus_message_iter_next(&s);
        auto role = basic<std::uint32_t>(s, DBUS_TYPE_UINT32);
        dbus_message_iter_next(&s);
        auto description = text(s);
        dbus_message_iter_next(&s);
        auto states = uints(s);
        if (!objectRef || !parent || !index || !children || !interfaces || !name || !role
            || !description || !states)
            return false;
        items.push_back(CacheItem {std::move(*objectRef), std::move(*parent), *index, *children,
                                   std::move(*interfaces), std::move(*name), *role,
                                   std::move(*description), std::move(*states)});
        return true;
    });
    return ok ? std::optional(items) : std::nullopt;
}

} // namespace tarnvik::linux
