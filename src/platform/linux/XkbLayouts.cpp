#include "platform/linux/XkbLayouts.h"

#include "platform/linux/X11Keys.h"

#include <QFile>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>

#include <cstdlib>
#include <xcb/xcb.h>
// xcb's XKB header names a field `explicit`, a keyword of C++.
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit

namespace tarnvik::linux {

namespace {

// Where the XKB rules and their registries are, as the X server's own data has them.
constexpr const char *rulesFolder = "/usr/share/X11/xkb/rules/";

std::string idOf(const std::string &layout, const std::string &variant)
{
    return variant.empty() ? layout : layout + "(" + variant + ")";
}

} // namespace

struct XkbLayouts::Connection : XConnection
{
    // _XKB_RULES_NAMES: the rules, model, layouts, variants and options the keymap was made
    // of, NUL-separated.
    QStringList rulesNames()
    {
        auto *atom =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, 16, "_XKB_RULES_NAMES"), nullptr);
        if (!atom)
            return {};
        auto *property = xcb_get_property_reply(
            c, xcb_get_property(c, 0, root, atom->atom, XCB_ATOM_STRING, 0, 1024), nullptr);
        std::free(atom);
        if (!property)
            return {};
        const QString text =
            QString::fromLatin1(static_cast<const char *>(xcb_get_property_value(property)),
                                xcb_get_property_value_length(property));
        std::free(property);
        return text.split(QChar(0));
    }
};

XkbRegistry::XkbRegistry(const std::string &xml)
{
    QXmlStreamReader reader(QByteArray::fromStdString(xml));
    std::string layout;
    std::string current;
    std::string element;
    bool inVariant = false;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            element = reader.name().toString().toStdString();
            if (element == "layout")
                inVariant = false;
            else if (element == "variant")
                inVariant = true;
            break;
        case QXmlStreamReader::EndElement:
            if (reader.name() == QLatin1String("variantList"))
                inVariant = false;
            element.clear();
            break;
        case QXmlStreamReader::Characters: {
            const std::string text = reader.text().toString().trimmed().toStdString();
            if (text.empty())
                break;
            // Each configItem names itself first, then says what it is.
            if (element == "name") {
                if (!inVariant)
                    layout = text;
                current = inVariant ? idOf(layout, text) : text;
            } else if (element == "description" && !current.empty()) {
                _names.emplace(current, text);
                current.clear();
            }
            break;
        }
        default:
            break;
        }
    }
}

std::string XkbRegistry::nameOf(const std::string &layout, const std::string &variant) const
{
    const auto found = _names.find(idOf(layout, variant));
    return found == _names.end() ? idOf(layout, variant) : found->second;
}

std::unique_ptr<XkbLayouts> XkbLayouts::connect()
{
    auto x = std::make_unique<Connection>();
    if (!x->connectWithXkb())
        return nullptr;
    return std::unique_ptr<XkbLayouts>(new XkbLayouts(std::move(x)));
}

XkbLayouts::XkbLayouts(std::unique_ptr<Connection> connection)
    : _x(std::move(connection))
{ }

XkbLayouts::~XkbLayouts() = default;

std::vector<InputSource> XkbLayouts::inputSources()
{
    return layouts(true);
}

std::vector<InputSource> XkbLayouts::layouts(bool named)
{
    const QStringList names = _x->rulesNames();
    if (names.size() < 4)
        return {};
    // The registry is read for the names alone: the settings show them, a session doesn't.
    QFile file(rulesFolder + names[0] + ".xml");
    const XkbRegistry registry(
        named && file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string());
    const QStringList layouts = names[2].split(',');
    const QStringList variants = names[3].split(',');
    std::vector<InputSource> sources;
    // XKB has four groups at the most.
    for (int group = 0; group < std::min<qsizetype>(layouts.size(), 4); ++group) {
        const std::string layout = layouts[group].trimmed().toStdString();
        const std::string variant =
            group < variants.size() ? variants[group].trimmed().toStdString() : std::string();
        if (!layout.empty())
            sources.push_back({idOf(layout, variant), registry.nameOf(layout, variant), group});
    }
    return sources;
}

std::optional<InputSource> XkbLayouts::currentInputSource()
{
    auto *state =
        xcb_xkb_get_state_reply(_x->c, xcb_xkb_get_state(_x->c, XCB_XKB_ID_USE_CORE_KBD), nullptr);
    if (!state)
        return std::nullopt;
    const int group = state->lockedGroup;
    std::free(state);
    for (const auto &source : layouts(false))
        if (source.platformIndex == group)
            return source;
    return std::nullopt;
}

void XkbLayouts::selectInputSource(const InputSource &source)
{
    xcb_xkb_latch_lock_state(_x->c, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1,
                             static_cast<std::uint8_t>(source.platformIndex), 0, 0, 0);
    xcb_flush(_x->c);
}

} // namespace tarnvik::linux
