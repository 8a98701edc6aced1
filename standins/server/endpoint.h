// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusContext>

#include <memory>

class QDBusServer;

/// An object with D-Bus adaptors that is served to every peer that connects to an address, or on a bus.
class Endpoint : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    explicit Endpoint(QObject *parent = nullptr);
    ~Endpoint() override;

    /// Listens on a D-Bus address (unix:path=...); false, with a message in `errorString()`, when it cannot.
    bool listen(const QString &address);
    /// Owns the name org.freedesktop.Notifications on a bus.
    bool serveBus(QDBusConnection bus);
    /// The address that peers can connect to; empty when not listening.
    QString address() const;
    /// Removes the file, if any, that peers connect to.
    void removeSocket() const;
    QString errorString() const { return m_error; }

Q_SIGNALS:
    /// The bus that was served is gone.
    void busLost();

private Q_SLOTS:
    void onDisconnected();

private:
    void addPeer(const QDBusConnection &connection);
    void leave(const QString &name);

    std::unique_ptr<QDBusServer> m_listener;
    QStringList m_peers; ///< names of their connections
    QString m_bus;       ///< name of the bus connection that is served
    QString m_error;
};
