// SPDX-License-Identifier: MIT
#include "bench/operations.h"

#include "tools/harness/settle.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QThread>

#include <algorithm>

Operations::Operations(std::unique_ptr<Client> client, const char *user)
    : m_client(std::move(client))
    , m_user(user)
{
    m_operations = {
        {"fill", [this](int count) { fill(count); }},
        {"clear", [this](int count) { clear(count); }},
        {"load", [this](int count) { load(count); }},
        {"new", [this](int count) { publish(count, false); }},
        {"icons", [this](int count) { publish(count, true); }},
        {"update", [this](int count) { update(count); }},
        {"repeat", [this](int count) { repeat(count); }},
        {"dismiss", [this](int count) { dismiss(count, Which::Oldest); }},
        {"dismiss-newest", [this](int count) { dismiss(count, Which::Newest); }},
        {"invoke", [this](int count) { invoke(count, Which::Oldest); }},
        {"invoke-newest", [this](int count) { invoke(count, Which::Newest); }},
        {"remove", [this](int count) { remove(count); }},
    };
}

void Operations::run(const std::string &name, int count)
{
    m_gauge = {};
    m_operations.at(name)(count);
    gauge_report(&m_gauge, count);
}

template <typename Work> void Operations::measure(Work work)
{
    gauge_start(&m_gauge);
    work();
    gauge_stop(&m_gauge);
}

void Operations::prepare(const QVector<Item> &items)
{
    m_client->prepare(items);
    m_prepared = items.size();
}

void Operations::prepareFresh(int count, bool icons)
{
    QVector<Item> items;
    for (int i = 0; i < count; ++i) {
        items.append({++m_lastNumber, 0, icons});
    }
    prepare(items);
}

/// Shows all that was prepared.
void Operations::show() const
{
    for (int i = 0; i < m_prepared; ++i) {
        m_client->show(i);
    }
}

/// Shows notifications that stay.
void Operations::addLive(int count)
{
    constexpr int most = 500; // more would make the client wait for answers
    for (; count > 0; count -= most) {
        const uint first = nextId();
        prepareFresh(std::min(count, most));
        show();
        settle(m_client->connection());
        for (int i = 0; i < m_prepared; ++i) {
            m_live.push_back(first + static_cast<uint>(i));
        }
    }
}

/// The identifier that the server gives next.
uint Operations::nextId() const
{
    const QDBusConnection connection = m_client->connection();
    const QDBusMessage notify =
        request(connection, protocol::service(), "Notify",
                {QString(), 0U, QString(), QString(), QString(), QStringList(), QVariantMap(), 0});
    const uint id = connection.call(notify).arguments().value(0).toUInt();
    connection.call(request(connection, protocol::service(), "CloseNotification", {id}));
    settle(connection);
    return id + 1;
}

void Operations::closeAll(uint first, int count) const
{
    const QDBusConnection connection = m_client->connection();
    for (int i = 0; i < count; ++i) {
        connection.send(request(connection, protocol::service(), "CloseNotification", {first + static_cast<uint>(i)}));
    }
    settle(connection);
}

/// Lets the user act, and waits until the client is told.
void Operations::causeEvent(const std::string &command)
{
    const int expected = m_client->events() + 1;
    m_user << command << std::endl;
    while (m_client->events() < expected) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// Loads the plug-in and shows the notifications that stay, each with two files in the icon cache.
void Operations::fill(int count)
{
    m_client->load();
    addLive(count);
    for (int i = 0; i < 2 * count; ++i) {
        QFile file(QDir::temp().filePath(QStringLiteral("lumd/notif/live_%1").arg(i)));
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("Cannot write to the icon cache");
        }
    }
}

/// Clears `count` live notifications; prints the cost of one.
void Operations::clear(int count)
{
    addLive(count - static_cast<int>(m_live.size()));
    measure([this] {
        m_client->clear();
        settle(m_client->connection());
    });
    m_live.clear();
}

void Operations::load(int count)
{
    measure([&] {
        for (int i = 0; i < count; ++i) {
            m_client->load();
            m_client->unload();
        }
    });
}

void Operations::publish(int count, bool icons)
{
    const uint first = nextId();
    prepareFresh(count, icons);
    measure([this] { show(); });
    closeAll(first, count);
}

void Operations::update(int count)
{
    const uint id = nextId();
    prepareFresh(1);
    show();
    QVector<Item> versions;
    for (int version = 1; version <= count; ++version) {
        versions.append({m_lastNumber, version});
    }
    prepare(versions);
    measure([this] { show(); });
    closeAll(id, 1);
}

void Operations::repeat(int count)
{
    const uint id = nextId();
    prepareFresh(1);
    show();
    prepare(QVector<Item>(count, {m_lastNumber}));
    measure([this] { show(); });
    closeAll(id, 1);
}

/// New ones take the place of those that are dismissed.
void Operations::dismiss(int count, Which which)
{
    measure([&] {
        for (int i = 0; i < count; ++i) {
            causeEvent("dismiss " + std::to_string(which == Which::Oldest ? m_live.front() : m_live.back()));
            which == Which::Oldest ? m_live.pop_front() : m_live.pop_back();
        }
    });
    addLive(count);
}

void Operations::invoke(int count, Which which)
{
    const uint id = which == Which::Oldest ? m_live.front() : m_live.back();
    measure([&] {
        for (int i = 0; i < count; ++i) {
            causeEvent("invoke " + std::to_string(id) + " default");
        }
    });
}

void Operations::remove(int count)
{
    const QDBusConnection connection = m_client->connection();
    const uint first = nextId();
    prepareFresh(count);
    show();
    settle(connection);
    measure([&] {
        for (int i = 0; i < count; ++i) {
            m_client->remove(i);
        }
        if (m_client->removalDelayMs() != 0) {
            gauge_stop(&m_gauge);
            QThread::msleep(m_client->removalDelayMs());
            gauge_start(&m_gauge);
        }
        QCoreApplication::processEvents();
        settle(connection);
    });
    const QDBusMessage again =
        request(connection, protocol::service(), "CloseNotification", {first + static_cast<uint>(count) - 1});
    if (connection.call(again).type() != QDBusMessage::ErrorMessage) {
        qFatal("The removals were not carried out");
    }
}
