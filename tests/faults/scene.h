// SPDX-License-Identifier: MIT
#pragma once

#include "tests/faults/rig.h"
#include "tests/oddserver.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QLoggingCategory>

#include <cmath>
#include <csignal>
#include <sys/fsuid.h>
#include <sys/stat.h>

/// What the plug-in goes through in a row of the campaign: steps, each a slot's name and its argument.
class Scene : public QObject
{
    Q_OBJECT

public:
    /// `server` is "ours" in this process, or has to be started on a "socket" or a "bus", or is an odd one that
    /// gives `answer`.
    Scene(const QString &server, const OddServer::Answer &answer)
        : m_address(server == "bus" ? QString() : "unix:path=" + m_directory.filePath("bus"))
        , m_odd(answer ? std::make_unique<OddServer>(answer) : nullptr)
    {
        umask(0);
        std::signal(SIGXFSZ, SIG_IGN);
        QDBusConnection::sessionBus(); // before a World hides it
        m_server.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
        if (server == "socket") {
            start();
        }
        const QByteArray address = m_odd ? m_odd->address() : m_address.toUtf8();
        const std::string config =
            "[Notifications]\nNotifAlertCommand = " + m_directory.path().toStdString() + "/alert";
        m_world = std::make_unique<World>(config, server == "ours" ? nullptr : address.constData());
        QLoggingCategory::setFilterRules({});
        qputenv("C", m_world->cachePath().toUtf8());
        qputenv("D", m_directory.path().toUtf8());
        sh("chmod 755 $D; mkdir $D/notif; echo png >$D/icon; >$D/says; echo precious | tee $D/k.png >$D/notif/k.png");
    }

    /// What came of the steps: what was shown, what the host was told, what commands wrote.
    QString play(const QString &steps)
    {
        for (const QString &step : (steps + ", look").split(", ")) {
            const QByteArray verb = step.section(' ', 0, 0).toUtf8();
            QElapsedTimer timer;
            timer.start();
            const bool known = step.contains(' ')
                                   ? QMetaObject::invokeMethod(this, verb, Q_ARG(QString, step.section(' ', 1)))
                                   : QMetaObject::invokeMethod(this, verb);
            expect(known, "no such step: " + step);
            expect(timer.elapsed() < 4000 || verb == "reload" || verb == "awaitAlerts", "late: " + step);
        }
        setfsuid(0);
        sh("grep -q precious $D/k.png && grep -q precious $D/notif/k.png");
        return m_seen.join(", then ") + (says().isEmpty() ? "" : " says " + says().simplified());
    }

public Q_SLOTS:
    // what the host does
    void add(const QString &what) ///< key, title, number of actions; x9 is a text of nine characters
    {
        QStringList words = what.split(' ');
        for (QString &word : words) {
            const int size = word.startsWith('x') ? word.midRef(1).toInt() : 0;
            word = size > 0 ? QString(size, 'x') : word;
        }
        const QString actions = QString(R"({"title":"default"},)").repeated(words.value(2, "1").toInt());
        const char *const members = R"("key":"%1","title":"%2","text":"%2","actions":[%3],"smallIcon":"%4/icon",)"
                                    R"("importance":3,"clearable":true)";
        m_world->play(QString(members).arg(words[0], words[1], actions.chopped(1), m_directory.path()).toUtf8());
    }
    void addMany(const QString &count)
    {
        for (int i = 0; i < count.toInt(); ++i) {
            add(QString("%1 t").arg(i));
        }
    }
    void addBadTexts()
    {
        for (const char *const text : {"\xff\xfe", "\xed\xa0\x80", "\xef\xbf\xbe\xef\xb7\x90", "\xf4\x90\x80\x80"}) {
            m_world->add(text, text, text, text);
        }
    }
    void handNull()
    {
        m_world->host->add(nullptr);
        m_world->host->remove(nullptr);
        m_world->host->publish(nullptr);
        m_world->host->dexoptNotify(nullptr, nullptr, std::nan(""));
        m_world->host->installationResult(nullptr);
        m_world->host->uninstallationResult(nullptr);
    }
    void remove(const QString &key) { m_world->host->remove(key.toUtf8()); }
    void clear() { m_world->host->clear(); }
    void optimise() { m_world->host->dexoptNotify("Optimising", "1 of 2", 0.5); }
    void load() { m_world->load(); }
    void unload() { m_world->unload(); }
    void unloadWhenTold()
    {
        m_world->host->onRemoved = [this](const std::string &) { unload(); };
        m_world->host->onAction = [this](const std::string &, lu_field *) { unload(); };
    }
    void reload(const QString &times)
    {
        qint64 early = 0;
        for (int i = 1; i <= times.toInt(); ++i) {
            add("k " + QString::number(i));
            unload();
            load();
            m_world->settle();
            early = i == times.toInt() / 10 ? residentKib() : early;
        }
        expect(residentKib() < early + early / 20, QString("grew from %1 to %2 KiB").arg(early).arg(residentKib()));
    }
    // what the server and the user do
    void start() { startServer(m_server, m_address); }
    void send(const QString &signal) { sh(QString("kill -%1 %2").arg(signal).arg(m_server.processId())); }
    void reconnect() ///< with what our own server remembers
    {
        const QString bus = m_server.processEnvironment().value("DBUS_SESSION_BUS_ADDRESS");
        m_world->onServer([&bus](Server &server) {
            QDBusConnection::disconnectFromBus("server");
            server.serveBus(QDBusConnection::connectToBus(bus, "server"));
        });
    }
    void cut() { QDBusConnection::disconnectFromPeer("peerconnection"); }
    void invoke() { user()->Invoke(user()->List().value().value(0).id, "default").waitForFinished(); }
    void dismiss() { user()->Dismiss(user()->List().value().value(0).id).waitForFinished(); }
    // what happens around them; $C is the icon cache, $L the folder that it is in, $D one that is not theirs
    void sh(const QString &command)
    {
        expect(QProcess::execute("sh", {"-ec", "L=${C%/*}; " + command}) == 0, "failed: " + command);
    }
    void alert(const QString &command) ///< what the alert command does, besides noting the title
    {
        sh(QString(R"(printf '#!/bin/sh\necho "$TITLE" >>$D/says\n%1' >$D/alert; chmod +x $D/alert)").arg(command));
    }
    void awaitAlerts(const QString &count)
    {
        expect(QTest::qWaitFor([&] { return says().count('\n') >= count.toInt(); }, 10000), "alerts are missing");
        expect(residentKib() < 100000, "takes in what the command says");
    }
    void beNobody() { setfsuid(65534); }
    void setClock(const QString &offset)
    {
        const QDateTime before = QDateTime::currentDateTime();
        sh("echo " + offset + " >$FAKETIME_TIMESTAMP_FILE");
        wait("300");
        expect(std::abs(before.daysTo(QDateTime::currentDateTime())) > 20, "no jump");
    }
    void wait(const QString &ms) { QTest::qWait(ms.toInt()); }
    void look()
    {
        QStringList shown;
        m_world->settle();
        for (const DesktopNotification &seen : user()->List().value()) {
            const QString text = seen.hints.value("x-vorn-origin-key").toString() + seen.summary;
            const int actions = seen.actions.size() / 2;
            shown.append((text.size() > 100 ? QString("%1 characters").arg(text.size()) : text) +
                         (seen.appIcon.isEmpty() ? " bare" : "") +
                         (actions > 1 ? QString(" with %1 actions").arg(actions) : ""));
        }
        const QString told = m_world->told.isEmpty() ? "" : " told " + m_world->told.join("; ");
        m_seen.append('[' + (shown.size() > 3 ? QString::number(shown.size()) : shown.join("; ")) + ']' + told);
    }

private:
    void expect(bool holds, const QString &what) { m_seen += holds ? QStringList() : QStringList(what); }
    QString says() const { return contents(m_directory.filePath("says")); }

    const QTemporaryDir m_directory;
    const QString m_address;
    QProcess m_server;
    const std::unique_ptr<OddServer> m_odd;
    std::unique_ptr<World> m_world;
    QStringList m_seen;
};
