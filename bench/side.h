// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/lumd.h"
#include "standins/protocol/desktopnotification.h"

#include <QtCore/QObject>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

/// Seconds for one of `count` runs of `work`.
template <typename Work> double timed(int count, Work work)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        work(i);
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / count;
}

/// One side of the comparisons: a client of a notification server.
class Side : public QObject
{
    Q_OBJECT

public:
    ~Side() override;

    /// Each runs `count` times in a row, tells the seconds that one took, and leaves the server as it was.
    std::map<std::string, std::function<double(int count)>> operations;

protected Q_SLOTS:
    void onSignal() { ++m_events; }

protected:
    /// Starts a server of its own.
    void startServer();
    /// The address of that server; empty on the session bus.
    QString address() const { return m_address; }
    void use(const QDBusConnection &connection);

    QDBusMessage request(const char *method, const QVariantList &arguments = {}) const
    {
        return message(protocol::service(), method, arguments);
    }
    /// What is beyond the freedesktop protocol.
    QDBusMessage extension(const char *method, const QVariantList &arguments) const
    {
        return message(QStringLiteral("com.vorn.Notifications"), method, arguments);
    }
    /// What the user does.
    QDBusMessage control(const char *method, const QVariantList &arguments = {}) const
    {
        return message(QStringLiteral("com.vorn.Notifications.Control"), method, arguments);
    }
    QDBusConnection connection() const { return m_connection; }
    /// Counts a signal of the server.
    void listen(const char *signal);
    uint notify(const DesktopNotification &notification) const;
    /// The identifier that the next new notification gets.
    uint nextId() const;
    /// Sends what `cause` returns, one message at a time, and waits each time until its effect was counted.
    double causeEvents(int count, const std::function<QDBusMessage(int)> &cause);
    /// Returns when the server has done what it was told, and the signals that it sent meanwhile are handled.
    void settle() const;

    int m_events = 0; ///< signals or reports that have arrived
    QTemporaryDir m_directory;

private:
    QDBusMessage message(const QString &interface, const char *method, const QVariantList &arguments) const;

    QProcess m_server;
    QString m_address;
    QDBusConnection m_connection{QString()};
};

/// The plug-in's descriptor.
lu_plugin_def *loadLibrary();

/// The host with the plug-in loaded and `live` notifications shown.
std::unique_ptr<Side> makePluginSide(int live, bool onSessionBus);
/// D-Bus calls alone.
std::unique_ptr<Side> makeBareSide();
/// Comes and goes.
std::unique_ptr<Side> makeLoadingSide();
