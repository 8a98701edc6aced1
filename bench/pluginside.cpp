// SPDX-License-Identifier: MIT
#include "bench/content.h"
#include "bench/side.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QThread>

#include <algorithm>
#include <deque>
#include <malloc.h>
#include <unistd.h>

namespace
{

/// Bytes of memory in use: what was allocated, or what the process has grown to, whichever is more.
struct Memory {
    double allocated = static_cast<double>(mallinfo2().uordblks);
    double resident = [] {
        QFile statm(QStringLiteral("/proc/self/statm"));
        statm.open(QIODevice::ReadOnly);
        return statm.readAll().split(' ').at(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE));
    }();
};

class PluginSide : public Side
{
public:
    PluginSide(int live, bool onSessionBus);
    ~PluginSide() override { m_plugin->unload(&m_context); }

private:
    double publish(int count, Kind kind);
    double repeat(int count);
    double publishByHand(int count);
    double dismiss(int count);
    double invoke(int count);
    double remove(int count);
    double dismissAll(uint first, int count);
    std::string nextKey() { return "0|com.example.mail|" + std::to_string(++m_lastKey) + "|null|10083"; }
    std::vector<std::string> addSome(int count, Kind kind);
    void checkContent();
    void fill(int live);
    void addLive(int count);

    lumd::Host m_host{nullptr};
    lu_plugin_def *m_plugin = loadLibrary();
    lu_plugin_context m_context = {m_host.handle(), nullptr};
    int m_lastKey = 1000000; // so that all keys are of one length
    uint m_resident = 0;     ///< the oldest, which stays when it is invoked
    std::deque<uint> m_live; ///< identifiers of the others that stay
    double m_memory = 0;     ///< for each live notification
};

PluginSide::PluginSide(int live, bool onSessionBus)
{
    if (!onSessionBus) {
        startServer();
    }
    qputenv("LUMD_P2P_DBUS_ADDRESS", address().toUtf8());
    qputenv("TMPDIR", m_directory.path().toUtf8());
    m_host.onRemoved = [this](const std::string &) { ++m_events; };
    m_host.onAction = [this](const std::string &, lu_field *) { ++m_events; };
    m_plugin->load(&m_context);
    use(onSessionBus ? QDBusConnection::sessionBus() : QDBusConnection(QStringLiteral("peerconnection")));
    checkContent();
    fill(live);

    operations["new"] = [this](int count) { return publish(count, Kind::Plain); };
    operations["icons"] = [this](int count) { return publish(count, Kind::WithIcons); };
    operations["direct"] = [this](int count) { return publishByHand(count); };
    operations["repeat"] = [this](int count) { return repeat(count); };
    operations["dismiss"] = [this](int count) { return dismiss(count); };
    operations["invoke"] = [this](int count) { return invoke(count); };
    operations["remove"] = [this](int count) { return remove(count); };
    operations["memory"] = [this](int) { return m_memory; };
}

/// Ends the program unless the loop by hand shows the same as the plug-in.
void PluginSide::checkContent()
{
    const std::string key = nextKey();
    m_host.add(notification(key, Kind::Plain).get());
    const std::unique_ptr<Notification> object = published(QString::fromStdString(key));
    auto shown = qdbus_cast<DesktopNotificationList>(connection().call(control("List")).arguments().value(0));
    const DesktopNotification byHand = shown.takeLast();
    const DesktopNotification byPlugin = shown.takeLast();
    if (byHand.summary != byPlugin.summary || byHand.body != byPlugin.body || byHand.actions != byPlugin.actions ||
        byHand.appName != byPlugin.appName || byHand.hints != byPlugin.hints) {
        qFatal("The notifications that are compared differ");
    }
    object->close();
    dismissAll(byPlugin.id, 1);
}

/// Adds `live` notifications that stay, with two icon files each.
void PluginSide::fill(int live)
{
    const Memory before;
    m_resident = nextId();
    addSome(1, Kind::Resident);
    addLive(live);
    settle();
    const Memory after;
    m_memory = std::max(after.allocated - before.allocated, after.resident - before.resident) / live;
    for (int i = 0; i < 2 * live; ++i) {
        QFile file(QStringLiteral("%1/lumd/notif/live_%2.png").arg(m_directory.path()).arg(i));
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("Cannot write to the icon cache");
        }
    }
}

void PluginSide::addLive(int count)
{
    const uint first = nextId();
    addSome(count, Kind::Plain);
    for (int i = 0; i < count; ++i) {
        m_live.push_back(first + static_cast<uint>(i));
    }
}

std::vector<std::string> PluginSide::addSome(int count, Kind kind)
{
    std::vector<std::string> keys(static_cast<size_t>(count));
    for (std::string &key : keys) {
        key = nextKey();
        m_host.add(notification(key, kind).get());
    }
    return keys;
}

double PluginSide::dismissAll(uint first, int count)
{
    return causeEvents(count, [&](int i) { return control("Dismiss", {first + static_cast<uint>(i)}); });
}

double PluginSide::publish(int count, Kind kind)
{
    std::vector<lumd::Record> records(static_cast<size_t>(count));
    std::generate(records.begin(), records.end(), [&] { return notification(nextKey(), kind); });
    const uint first = nextId();
    const double seconds = timed(count, [&](int i) { m_host.add(records[static_cast<size_t>(i)].get()); });
    dismissAll(first, count);
    return seconds;
}

double PluginSide::repeat(int count)
{
    const lumd::Record record = notification(nextKey(), Kind::Plain);
    const uint id = nextId();
    m_host.add(record.get());
    const double seconds = timed(count, [&](int) { m_host.add(record.get()); });
    dismissAll(id, 1);
    return seconds;
}

double PluginSide::publishByHand(int count)
{
    std::vector<QString> keys(static_cast<size_t>(count));
    std::generate(keys.begin(), keys.end(), [this] { return QString::fromStdString(nextKey()); });
    std::vector<std::unique_ptr<Notification>> objects;
    nextId(); // as the other operations
    const double seconds = timed(count, [&](int i) { objects.push_back(published(keys[static_cast<size_t>(i)])); });
    for (const std::unique_ptr<Notification> &object : objects) {
        object->close();
    }
    settle();
    return seconds;
}

/// Of the oldest ones, which are then made up for.
double PluginSide::dismiss(int count)
{
    const double seconds = causeEvents(count, [this](int) {
        const uint id = m_live.front();
        m_live.pop_front();
        return control("Dismiss", {id});
    });
    addLive(count);
    return seconds;
}

double PluginSide::invoke(int count)
{
    return causeEvents(count, [this](int) { return control("Invoke", {m_resident, QStringLiteral("default")}); });
}

double PluginSide::remove(int count)
{
    const uint first = nextId();
    const std::vector<std::string> keys = addSome(count, Kind::Plain);
    settle();
    const double requested = timed(count, [&](int i) { m_host.remove(keys[static_cast<size_t>(i)].c_str()); });
    QThread::msleep(600); // every removal is due by then
    const double carriedOut = timed(1, [&](int) {
        QCoreApplication::processEvents();
        settle();
    });
    const uint last = first + static_cast<uint>(count) - 1;
    if (connection().call(request("CloseNotification", {last})).type() != QDBusMessage::ErrorMessage) {
        qFatal("The removals were not carried out");
    }
    return requested + carriedOut / count;
}

} // namespace

std::unique_ptr<Side> makePluginSide(int live, bool onSessionBus)
{
    return std::make_unique<PluginSide>(live, onSessionBus);
}
