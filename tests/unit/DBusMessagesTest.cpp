#include "platform/linux/DBusMessages.h"

#include <gtest/gtest.h>

namespace tarnvik::linux {
namespace {

// A reply as an application would send it, built with libdbus's own writer.
struct ReplyBuilder
{
    ReplyBuilder()
        : call(methodCall("org.example", "/x", "org.example.I", "M", {}))
    {
        dbus_message_set_serial(call.get(), 1); // as if it had been sent
        reply.reset(dbus_message_new_method_return(call.get()));
        dbus_message_iter_init_append(reply.get(), &top);
    }

    static void object(DBusMessageIter &into, const char *service, const char *path)
    {
        DBusMessageIter s;
        dbus_message_iter_open_container(&into, DBUS_TYPE_STRUCT, nullptr, &s);
        dbus_message_iter_append_basic(&s, DBUS_TYPE_STRING, &service);
        dbus_message_iter_append_basic(&s, DBUS_TYPE_OBJECT_PATH, &path);
        dbus_message_iter_close_container(&into, &s);
    }

    Message call;
    Message reply;
    DBusMessageIter top;
};

TEST(DBusMessages, CacheItemsReadFieldByField)
{
    ReplyBuilder b;
    DBusMessageIter items;
    dbus_message_iter_open_container(&b.top, DBUS_TYPE_ARRAY, "((so)(so)(so)iiassusau)", &items);
    DBusMessageIter item;
    dbus_message_iter_open_container(&items, DBUS_TYPE_STRUCT, nullptr, &item);
    ReplyBuilder::object(item, ":1.5", "/obj/7");
    ReplyBuilder::object(item, ":1.5", "/org/a11y/atspi/accessible/root");
    ReplyBuilder::object(item, ":1.5", "/obj/3");
    const std::int32_t index = 2, children = 4;
    dbus_message_iter_append_basic(&item, DBUS_TYPE_INT32, &index);
    dbus_message_iter_append_basic(&item, DBUS_TYPE_INT32, &children);
    DBusMessageIter interfaces;
    dbus_message_iter_open_container(&item, DBUS_TYPE_ARRAY, "s", &interfaces);
    const char *action = "org.a11y.atspi.Action";
    dbus_message_iter_append_basic(&interfaces, DBUS_TYPE_STRING, &action);
    dbus_message_iter_close_container(&item, &interfaces);
    const char *name = "Save", *description = "Saves";
    const std::uint32_t role = 43;
    dbus_message_iter_append_basic(&item, DBUS_TYPE_STRING, &name);
    dbus_message_iter_append_basic(&item, DBUS_TYPE_UINT32, &role);
    dbus_message_iter_append_basic(&item, DBUS_TYPE_STRING, &description);
    DBusMessageIter states;
    dbus_message_iter_open_container(&item, DBUS_TYPE_ARRAY, "u", &states);
    const std::uint32_t low = 1u << 25, high = 2;
    dbus_message_iter_append_basic(&states, DBUS_TYPE_UINT32, &low);
    dbus_message_iter_append_basic(&states, DBUS_TYPE_UINT32, &high);
    dbus_message_iter_close_container(&item, &states);
    dbus_message_iter_close_container(&items, &item);
    dbus_message_iter_close_container(&b.top, &items);

    auto read = readCacheItems(b.reply.get());
    ASSERT_TRUE(read);
    ASSERT_EQ(read->size(), 1u);
    const auto &i = read->front();
    EXPECT_EQ(i.object.key(), ":1.5\n/obj/7");
    EXPECT_EQ(i.parent.path, "/obj/3");
    EXPECT_EQ(i.indexInParent, 2);
    EXPECT_EQ(i.childCount, 4);
    EXPECT_EQ(i.interfaces, std::vector<std::string> {action});
    EXPECT_EQ(i.name, "Save");
    EXPECT_EQ(i.role, 43u);
    EXPECT_EQ(i.description, "Saves");
    EXPECT_EQ(i.states, (std::vector<std::uint32_t> {low, high}));
}

TEST(DBusMessages, ReadersRefuseOtherShapesAndErrors)
{
    ReplyBuilder b;
    const char *text = "not a number";
    dbus_message_iter_append_basic(&b.top, DBUS_TYPE_STRING, &text);
    EXPECT_EQ(readString(b.reply.get()), "not a number");
    EXPECT_FALSE(readUint(b.reply.get()));
    EXPECT_FALSE(readObjects(b.reply.get()));
    EXPECT_FALSE(readExtents(b.reply.get()));
    EXPECT_FALSE(readStringVariant(b.reply.get()));
    EXPECT_FALSE(readActionNames(b.reply.get()));

    Message error(dbus_message_new_error(b.call.get(), DBUS_ERROR_UNKNOWN_OBJECT, "gone"));
    EXPECT_FALSE(readString(error.get()));
    EXPECT_FALSE(readString(nullptr));
}

TEST(DBusMessages, AMatchRuleIsWrittenInItsWireShape)
{
    MatchRule rule;
    rule.states = {1 << 25, 0};
    rule.roles = {0, 1 << 11, 0, 0};
    auto m = methodCall("org.example", "/x", "org.a11y.atspi.Collection", "GetMatches",
                        {rule, std::uint32_t {1}, std::int32_t {0}, true});
    EXPECT_STREQ(dbus_message_get_signature(m.get()), "(aiia{ss}iaiiasib)uib");
}

} // namespace
} // namespace tarnvik::linux
