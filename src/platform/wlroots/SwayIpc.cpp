#include "platform/wlroots/SwayIpc.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace tarnvik::wlroots {

namespace {

constexpr char magic[] = {'i', '3', '-', 'i', 'p', 'c'};
constexpr std::uint32_t subscribe = 2;
constexpr std::uint32_t getOutputs = 3;
constexpr std::uint32_t getTree = 4;
// Events carry the high bit over their kind.
constexpr std::uint32_t eventBit = 0x80000000;
constexpr std::uint32_t bindingEvent = eventBit | 5;

// The magic, then the payload's length and the message's kind, in the host's byte order.
constexpr std::size_t headerSize = sizeof magic + 2 * sizeof(std::uint32_t);

// Moves the whole buffer through `step` (a send or a receive), which may move part of it.
template<typename Byte, typename Step>
bool moveAll(Byte *data, std::size_t size, Step step)
{
    while (size > 0) {
        const ssize_t n = step(data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

bool writeAll(int fd, const char *data, std::size_t size)
{
    return moveAll(data, size,
                   [fd](const char *d, std::size_t n) { return ::send(fd, d, n, MSG_NOSIGNAL); });
}

bool readAll(int fd, char *data, std::size_t size)
{
    return moveAll(data, size, [fd](char *d, std::size_t n) { return ::recv(fd, d, n, 0); });
}

bool send(int fd, std::uint32_t type, const QByteArray &payload)
{
    char header[headerSize];
    const auto length = static_cast<std::uint32_t>(payload.size());
    std::memcpy(header, magic, sizeof magic);
    std::memcpy(header + sizeof magic, &length, sizeof length);
    std::memcpy(header + sizeof magic + sizeof length, &type, sizeof type);
    return writeAll(fd, header, headerSize)
        && writeAll(fd, payload.constData(), static_cast<std::size_t>(payload.size()));
}

// One message: its kind and payload.
std::optional<std::pair<std::uint32_t, QByteArray>> receive(int fd)
{
    // Larger than any tree of a desktop a person uses; anything bigger is not sway talking.
    constexpr std::uint32_t largest = 64 << 20;
    char header[headerSize];
    std::uint32_t length = 0, type = 0;
    if (!readAll(fd, header, headerSize) || std::memcmp(header, magic, sizeof magic) != 0)
        return std::nullopt;
    std::memcpy(&length, header + sizeof magic, sizeof length);
    std::memcpy(&type, header + sizeof magic + sizeof length, sizeof type);
    if (length > largest)
        return std::nullopt;
    QByteArray payload(static_cast<qsizetype>(length), Qt::Uninitialized);
    if (!readAll(fd, payload.data(), length))
        return std::nullopt;
    return std::pair {type, payload};
}

// A connection whose every read and write gives up after a second.
int open(const std::string &path)
{
    sockaddr_un address {};
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return -1;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    const timeval limit {.tv_sec = 1, .tv_usec = 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

CGRect rectOf(const QJsonValue &r)
{
    const auto o = r.toObject();
    return makeRect(o["x"].toDouble(), o["y"].toDouble(), o["width"].toDouble(),
                    o["height"].toDouble());
}

// Views are the containers that hold a client: they carry its process.
void collectViews(const QJsonObject &node, std::vector<linux::CompositorWindow> &into)
{
    if (node["pid"].toInt() > 0 && node["visible"].toBool(true)) {
        linux::CompositorWindow w;
        w.id = static_cast<std::uint64_t>(node["id"].toInteger());
        w.pid = node["pid"].toInt();
        w.title = node["name"].toString().toStdString();
        w.focused = node["focused"].toBool();
        // A Wayland client's application id, or an X client's class on Xwayland.
        const auto x = node["window_properties"].toObject();
        const auto appId = node["app_id"].toString();
        w.wmClass = (appId.isEmpty() ? x["class"].toString() : appId).toStdString();
        w.wmInstance = (appId.isEmpty() ? x["instance"].toString() : appId).toStdString();
        w.frame = rectOf(node["rect"]);
        const CGRect inside = rectOf(node["window_rect"]);
        w.buffer = makeRect(w.frame.origin.x + inside.origin.x, w.frame.origin.y + inside.origin.y,
                            inside.size.width, inside.size.height);
        into.push_back(std::move(w));
    }
    for (const auto *children : {"nodes", "floating_nodes"}) {
        for (const auto &child : node[children].toArray())
            collectViews(child.toObject(), into);
    }
}

} // namespace

// The view the keyboard went to last, down each container's focus order: while a layer-shell
// surface holds the keyboard (this program's, in a session) no view has the focus.
std::int64_t lastFocused(QJsonObject node)
{
    for (int depth = 0; depth < 64; ++depth) {
        if (node["pid"].toInt() > 0)
            return node["id"].toInteger();
        const auto order = node["focus"].toArray();
        if (order.isEmpty())
            return -1;
        const auto next = order.first().toInteger();
        QJsonObject child;
        for (const auto *children : {"nodes", "floating_nodes"}) {
            for (const auto &c : node[children].toArray()) {
                if (c.toObject()["id"].toInteger() == next)
                    child = c.toObject();
            }
        }
        if (child.isEmpty())
            return -1;
        node = child;
    }
    return -1;
}

std::vector<linux::CompositorWindow> swayWindows(const QByteArray &tree)
{
    std::vector<linux::CompositorWindow> windows;
    const auto root = QJsonDocument::fromJson(tree).object();
    collectViews(root, windows);
    if (std::none_of(windows.begin(), windows.end(), [](const auto &w) { return w.focused; })) {
        const auto last = lastFocused(root);
        for (auto &w : windows)
            w.focused = static_cast<std::int64_t>(w.id) == last;
    }
    std::stable_partition(windows.begin(), windows.end(), [](const auto &w) { return w.focused; });
    return windows;
}

std::vector<linux::CompositorMonitor> swayOutputs(const QByteArray &outputs)
{
    std::vector<std::pair<bool, linux::CompositorMonitor>> found;
    for (const auto &o : QJsonDocument::fromJson(outputs).array()) {
        const auto output = o.toObject();
        if (output["active"].toBool())
            found.push_back(
                {output["focused"].toBool(),
                 {.frame = rectOf(output["rect"]), .scale = output["scale"].toDouble(1)}});
    }
    return linux::activeFirst(std::move(found));
}

std::unique_ptr<SwayIpc> SwayIpc::connect()
{
    const char *path = std::getenv("SWAYSOCK");
    std::unique_ptr<SwayIpc> ipc(new SwayIpc(path ? path : ""));
    if (!ipc->ask(getOutputs))
        return nullptr;
    return ipc;
}

SwayIpc::SwayIpc(std::string socketPath)
    : _socketPath(std::move(socketPath))
{ }

SwayIpc::~SwayIpc()
{
    _eventNotifier.reset();
    if (_events >= 0)
        ::close(_events);
}

std::optional<QByteArray> SwayIpc::ask(std::uint32_t type, const QByteArray &payload) const
{
    const int fd = open(_socketPath);
    if (fd < 0)
        return std::nullopt;
    std::optional<QByteArray> answer;
    if (send(fd, type, payload)) {
        if (auto reply = receive(fd); reply && reply->first == type)
            answer = std::move(reply->second);
    }
    ::close(fd);
    return answer;
}

std::vector<linux::CompositorWindow> SwayIpc::frames() const
{
    const auto tree = ask(getTree);
    return tree ? swayWindows(*tree) : std::vector<linux::CompositorWindow> {};
}

std::vector<linux::CompositorMonitor> SwayIpc::monitors() const
{
    const auto outputs = ask(getOutputs);
    return outputs ? swayOutputs(*outputs) : std::vector<linux::CompositorMonitor> {};
}

void SwayIpc::onFocusChanged(std::function<void()> handler)
{
    _focusChanged = std::move(handler);
    // A window's events tell of focus, titles, new and closed windows; a workspace's of the
    // focus moving to another workspace.
    if (!listen(R"(["window","workspace"])"))
        std::fputs("tarnvik: sway does not report the focus; the window in front is read at "
                   "each session only\n",
                   stderr);
}

void SwayIpc::onBinding(std::function<void(const std::string &command)> handler)
{
    _binding = std::move(handler);
    if (!listen(R"(["binding"])"))
        std::fputs("tarnvik: sway does not report its key bindings: bind keys to `exec tarnvik "
                   "activate click` and the like instead\n",
                   stderr);
}

bool SwayIpc::listen(const char *kinds)
{
    if (_events >= 0)
        return true;
    _events = open(_socketPath);
    if (_events < 0 || !send(_events, subscribe, kinds) || !receive(_events))
        return false;
    _eventNotifier = std::make_unique<QSocketNotifier>(_events, QSocketNotifier::Read);
    QObject::connect(_eventNotifier.get(), &QSocketNotifier::activated, _eventNotifier.get(),
                     [this] { eventsReady(); });
    return true;
}

void SwayIpc::eventsReady()
{
    const auto event = receive(_events);
    if (!event) {
        // sway has gone: nothing more will come.
        _eventNotifier->setEnabled(false);
        return;
    }
    if (event->first == bindingEvent) {
        const auto binding = QJsonDocument::fromJson(event->second).object()["binding"].toObject();
        if (_binding)
            _binding(binding["command"].toString().toStdString());
    } else if ((event->first & eventBit) && _focusChanged) {
        _focusChanged();
    }
}

} // namespace tarnvik::wlroots
