// SPDX-License-Identifier: MIT
#pragma once

#include "tests/fakeserver.h"
#include "tools/harness/settle.h"

#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <notification.h>
#include <notificationconnectionmanager.h>

/// A bus of its own.
struct Bus : QProcess {
    Bus()
    {
        start("dbus-daemon", {"--config-file=" KAVREL_SOURCE "/tests/bus.conf", "--nofork", "--print-address"});
        address = waitForReadyRead() ? readLine().trimmed() : QByteArray();
    }
    ~Bus() override
    {
        kill();
        waitForFinished();
    }
    QString address;
};

/// A program that shows one notification a key, as the plug-in does, on a bus with so many servers; the last one
/// serves.
struct Program {
    explicit Program(const QStringList &capabilities, int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            servers.push_back(std::make_unique<FakeServer>(capabilities, bus.address));
        }
        changeServer(servers.size() - 1);
        NotificationConnectionManager::useDBusConnection(connection);
    }
    ~Program()
    {
        qDeleteAll(live);
        QDBusConnection::disconnectFromBus("program");
    }
    Notification *add(const QString &key, const QString &text)
    {
        auto *const fresh = new Notification;
        fresh->setSummary(text);
        fresh->setBody('<' + text + '|' + key); // other servers get no key
        fresh->setHintValue("x-vorn-origin-key", key);
        fresh->setRemoteActions({Notification::remoteAction("a|1", "A", "", "/", "com.velmo.lumd", "call", {key})});
        if (Notification *const old = live.take(key)) {
            fresh->setReplacesId(old->replacesId());
            delete old;
        }
        fresh->publish();
        live[key] = fresh;
        QObject::connect(fresh, &Notification::actionInvoked, [=](const QString &name) { told << key + ' ' + name; });
        QObject::connect(fresh, &Notification::closed, [=] {
            told << key + " gone";
            live.remove(key);
            fresh->deleteLater();
        });
        return fresh;
    }
    void remove(const QString &key) { closeAll({live.take(key)}); }
    /// The user dismisses the notification of this number, if there is one; returns its key.
    QString dismiss(int number)
    {
        QString key;
        server->run([&] {
            const DesktopNotification one = server->shown.values().value(number);
            key = one.body.section('|', 1);
            if (one.id != 0) {
                server->close(one.id);
            }
        });
        return key;
    }
    /// One of the next ones takes the name from the server.
    void changeServer(size_t distance = 1)
    {
        m_serving = (m_serving + distance) % servers.size();
        server = servers[m_serving].get();
        server->takeName();
    }
    static void clear() { closeAll(Notification::notifications()); }
    static void closeAll(const QList<QObject *> &notifications)
    {
        for (QObject *const object : notifications) {
            if (object) {
                qobject_cast<Notification *>(object)->close();
            }
            delete object;
        }
    }
    /// Returns when all messages in either direction are handled, those that they cause included.
    void settle() const
    {
        for (int i = 0; i < 4; ++i) {
            QVERIFY(::settle(connection));
        }
        server->run([] {}); // its notes can be read now
    }
    /// On all servers.
    QString shown() const
    {
        settle();
        QStringList texts;
        for (const std::unique_ptr<FakeServer> &any : servers) {
            any->run([&] {
                for (const DesktopNotification &notification : qAsConst(any->shown)) {
                    texts << notification.hints.value("x-vorn-origin-key").toString() + notification.summary;
                }
            });
        }
        texts.sort();
        return texts.join(' ');
    }

    const Bus bus;
    const QDBusConnection connection = QDBusConnection::connectToBus(bus.address, "program");
    std::vector<std::unique_ptr<FakeServer>> servers;
    FakeServer *server = nullptr; ///< the one that serves
    QMap<QString, Notification *> live;
    QStringList told;

private:
    size_t m_serving = 0;
};
