// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusContext>

class QDBusServer;

/// Serves its D-Bus adaptors to every peer that connects to an address.
class Endpoint : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    explicit Endpoint(QObject *parent = nullptr);
    /// Closes the connections of all peers.
    ~Endpoint() override;

    /// Listens on a D-Bus address (unix:path=...).
    bool listen(const QString &address, QString *error);

private Q_SLOTS:
    void onDisconnected();

private:
    void addPeer(const QDBusConnection &connection);
    void leave(const QString &name);

    /// Never destroyed: Qt's D-Bus thread may hang when the process ends right after a QDBusServer.
    QDBusServer *m_listener = nullptr;
    QStringList m_peers; ///< names of their connections
};
