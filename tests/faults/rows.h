#pragma once

#include "rig.h"
#include "server.h"

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>
#include <QtTest/QtTest>

#include <sys/fsuid.h>

/// What the rows of the campaign are made of. Each says what came of its fault, in words that the row expects.

inline lumd::Record withActions(const std::string &key, int count)
{
    std::vector<lumd::Record> actions;
    for (int i = 0; i < count; ++i) {
        actions.push_back(lumd::newRecord(lumd::actionElementRecord));
        lumd::setString(actions.back().get(), 0x01, std::to_string(i));
    }
    lumd::Record fresh = record(key);
    lumd::setRecords(fresh.get(), 0x187, std::move(actions));
    return fresh;
}

/// What the desktop, that of a `World` or a `Rig`, shows, and what the host was told.
template <typename Setting> QString seen(Setting &setting, const World &world)
{
    QStringList shown;
    for (const DesktopNotification &notification : setting.desktop()) {
        const QString extras = notification.actions.isEmpty() ? "" : QString("+%1").arg(notification.actions.size());
        shown.append(notification.hints.value("x-vorn-origin-key").toString() + '=' + notification.summary +
                     (notification.appIcon.isEmpty() ? "" : "+icon") + extras);
    }
    QStringList told = world.told;
    told.sort();
    const QString what = shown.size() > 3 ? QString::number(shown.size()) : '[' + shown.join(' ') + ']';
    return QString("shows %1, told [%2]").arg(what, told.join(", "));
}

using Row = std::function<QString()>;

/// What is seen after `deed`, which must not hold the host up.
template <typename Setting> QString after(Setting &setting, World &world, void (*deed)(Setting &setting))
{
    QElapsedTimer timer;
    timer.start();
    deed(setting);
    const qint64 elapsed = timer.elapsed();
    return seen(setting, world) + (elapsed > 4000 ? QString(" after %1 ms").arg(elapsed) : QString());
}

inline Row onWorld(void (*deed)(World &world), const char *config = "")
{
    return [deed, config] {
        World world(config);
        return after(world, world, deed);
    };
}

inline Row onRig(Rig::Place place, bool withServer, void (*deed)(Rig &rig))
{
    return [place, withServer, deed] {
        Rig rig(place, withServer);
        return after(rig, *rig.world, deed);
    };
}

/// The host unloads the plug-in and lives on.
inline void leave(World &world)
{
    world.unload();
    QTest::qWait(600);
}

class OddServer : public QDBusVirtualObject
{
public:
    using Answer = void (*)(const QDBusMessage &, const QDBusConnection &);
    explicit OddServer(Answer answer)
        : m_answer(answer)
    {
    }
    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        m_answer(message, connection);
        return true;
    }

private:
    Answer m_answer;
};

/// What the host sees of a server that gives such answers.
inline Row answers(OddServer::Answer answer)
{
    return [answer] {
        QTemporaryDir directory;
        const QString address = "unix:path=" + directory.filePath("bus");
        QThread thread;
        auto *const odd = new OddServer(answer);
        odd->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, odd, &QObject::deleteLater);
        thread.start();
        const auto serve = [&address, odd] {
            auto *const listener = new QDBusServer(address, odd);
            QObject::connect(listener, &QDBusServer::newConnection, odd, [odd](QDBusConnection peer) {
                peer.registerVirtualObject("/", odd, QDBusConnection::SubPath);
            });
        };
        QMetaObject::invokeMethod(odd, serve, Qt::BlockingQueuedConnection);
        World world(World::Options{{}, false, address.toUtf8(), true});
        const auto deed = [](World &w) {
            for (const char *const text : {"a", "b", "c"}) {
                add(w, "k", text);
                add(w, text);
            }
            w.host->remove("k");
            w.host->clear();
            w.unload();
        };
        QElapsedTimer timer;
        timer.start();
        deed(world);
        const bool late = timer.elapsed() > 4000;
        thread.quit();
        thread.wait();
        return QString("goes on, told [%1]%2").arg(world.told.join(", "), late ? ", late" : "");
    };
}

/// What is shown when shell commands have spoiled the cache $C in the folder $L, before and after the plug-in was
/// loaded, and whether the files that are not ours to touch, in $E, have survived.
inline Row cache(
    const char *before, const char *after, void (*rights)() = [] {})
{
    return [before, after, rights] {
        World world(World::Options{{}, true, "none", false});
        QTemporaryDir elsewhere;
        qputenv("C", world.cachePath().toUtf8());
        qputenv("L", QFileInfo(world.cachePath()).path().toUtf8());
        qputenv("E", elsewhere.path().toUtf8());
        const auto shell = [](const char *command) { return QProcess::execute("sh", {"-ec", command}) == 0; };
        bool ran = shell("mkdir $E/notif; echo precious | tee $E/k.png >$E/notif/k.png") && shell(before);
        world.load();
        ran = ran && shell(after);
        rights();
        add(world, "k");
        QString result = seen(world, world);
        world.host->remove("k");
        QTest::qWait(600);
        world.host->clear();
        world.unload();
        setfsuid(0);
        result +=
            shell("grep -q precious $E/k.png && grep -q precious $E/notif/k.png") ? "" : ", lost a file elsewhere";
        return result + (ran ? "" : ", could not be spoiled");
    };
}

/// The titles with which the alert command, a script, was run.
inline Row alerts(const char *command, const std::vector<std::string> &titles, size_t textSize = 0)
{
    return [command, titles, textSize] {
        QTemporaryDir directory;
        QFile script(directory.filePath("alert.sh"));
        script.open(QIODevice::WriteOnly);
        script.write(QString("echo \"$TITLE\" >>%1/out\n%2\n").arg(directory.path(), command).toUtf8());
        script.close();
        const qint64 before = residentKib();
        World world("[Notifications]\nNotifAlertCommand = /bin/sh " + script.fileName().toStdString() + "\n");
        for (const std::string &title : titles) {
            add(world, "k", title, title == titles.front() ? std::string(textSize, 'x') : std::string());
        }
        QByteArray runs;
        QDeadlineTimer deadline(10000);
        while (!deadline.hasExpired() && !runs.endsWith((titles.back() + "\n").c_str())) {
            QTest::qWait(10);
            QFile out(directory.filePath("out"));
            runs = out.open(QIODevice::ReadOnly) ? out.readAll() : QByteArray();
        }
        return "ran " + runs.simplified() + (residentKib() - before < 30000 ? "" : ", grew");
    };
}

inline QString loads(int times)
{
    Rig rig(Rig::Peer);
    qint64 early = 0;
    for (int i = 1; i <= times; ++i) {
        add(*rig.world, "k", std::to_string(i));
        rig.world->unload();
        rig.world->load();
        rig.desktop();
        early = i == times / 10 ? residentKib() : early;
    }
    const double growth = 100.0 * static_cast<double>(residentKib() - early) / static_cast<double>(early);
    return seen(rig, *rig.world) + (growth < 5 ? ", flat" : QString(", grew %1 %").arg(growth));
}

/// The server is killed, or it loses its connection alone and comes back with what it knows.
inline Row restarted(bool withMemory)
{
    return [withMemory] {
        Rig rig(Rig::Bus, !withMemory);
        World memory(World::Options{{}, true, "", false});
        const auto serve = [&](const char *name) {
            memory.onServer([&](Server &server) { server.serveBus(QDBusConnection::connectToBus(rig.address, name)); });
        };
        if (withMemory) {
            serve("one");
        }
        add(*rig.world, "k", "one");
        add(*rig.world, "l", "one");
        rig.desktop();
        if (withMemory) {
            memory.onServer([](Server &) { QDBusConnection::disconnectFromBus("one"); });
            serve("two");
        } else {
            rig.killServer();
            rig.startServer();
        }
        QTest::qWait(200);
        add(*rig.world, "k", "two");
        const QString updated = seen(rig, *rig.world);
        rig.user()->Dismiss(rig.desktop().first().id);
        return updated + "; then " + seen(rig, *rig.world);
    };
}

/// The clock jumps while a removal waits for its time.
inline Row clockJump(const char *offset)
{
    return [offset] {
        World world;
        add(world, "k");
        world.host->remove("k");
        const QDateTime before = QDateTime::currentDateTime();
        QFile file(qEnvironmentVariable("FAKETIME_TIMESTAMP_FILE"));
        file.open(QIODevice::WriteOnly);
        file.write(offset);
        file.close();
        QTest::qWait(300);
        const int early = world.desktop().size();
        QTest::qWait(400);
        const bool jumped = std::abs(before.daysTo(QDateTime::currentDateTime())) > 20;
        return QString("shows %1, then %2%3").arg(early).arg(world.desktop().size()).arg(jumped ? "" : ", no jump");
    };
}

inline void dismissFirst(World &world)
{
    world.onServer([id = world.desktop().first().id](Server &server) { server.Dismiss(id); });
}
