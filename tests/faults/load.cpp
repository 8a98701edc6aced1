// SPDX-License-Identifier: MIT
// 100,000 notifications over 1,000 keys against a real server, with all that may happen to them: each has to be
// accounted for, memory has to stay flat. Then 10,000 alerts.
#include "tests/faults/rig.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QLoggingCategory>
#include <QtCore/QRandomGenerator>

#include <cstdio>

namespace
{

int failures = 0;

void expect(bool holds, const QString &what)
{
    failures += holds ? 0 : 1;
    std::puts(qPrintable((holds ? "" : "**no:** ") + what));
}

void expectEqual(const char *what, qint64 seen, qint64 expected)
{
    expect(seen == expected, QString("%1: %2, %3").arg(what).arg(seen).arg(expected));
}

class Load
{
public:
    Load()
    {
        startServer(m_server, m_address);
        m_world = std::make_unique<World>(std::string(), m_address.toUtf8().constData());
        QLoggingCategory::setFilterRules({});
        m_world->host->onRemoved = [this](const std::string &) { ++m_toldRemoved; };
        m_world->host->onAction = [this](const std::string &, lu_field *) { ++m_toldAction; };
        m_user = user();
        using User = ComVornNotificationsControlInterface;
        QObject::connect(m_user.get(), &User::Shown, [this](const DesktopNotification &shown, bool replaced) {
            ++(replaced ? m_replaced : m_new);
            m_ids.insert(shown.hints.value("x-vorn-origin-key").toString(), shown.id);
        });
        QObject::connect(m_user.get(), &User::Closed, [this](uint, uint) { ++m_closed; });
    }
    void run(int count);

private:
    void add(const QString &key)
    {
        const bool again = m_live.contains(key) && m_random.bounded(5) == 0;
        m_unchanged += again ? 1 : 0;
        m_live[key] = again ? m_live[key] : ++m_version;
        m_leaving.remove(key);
        const char *const members = R"("key":"%1","title":"%2","text":"Some text.","smallIcon":"%3","clearable":true,)"
                                    R"("importance":3,"actions":[{"title":"default"}])";
        m_world->play(QString(members).arg(key).arg(m_live[key]).arg(m_icon).toUtf8());
    }
    void userActs(const QString &key)
    {
        m_world->settle();
        if (m_live.contains(key) && !m_leaving.contains(key)) {
            const bool dismiss = m_random.bounded(2) == 0;
            ++(dismiss ? m_dismissed : m_invoked);
            (dismiss ? m_user->Dismiss(m_ids[key]) : m_user->Invoke(m_ids[key], "default")).waitForFinished();
            m_world->settle();
            m_live.remove(key);
        }
    }
    void hostRemoves(const QString &key)
    {
        m_world->host->remove(key.toUtf8());
        m_leaving += m_live.contains(key) ? QSet<QString>{key} : QSet<QString>();
    }
    /// Their timers fire here alone; the rest runs without an event loop.
    void letRemovalsHappen()
    {
        QTest::qWait(700);
        m_removed += m_leaving.size();
        for (const QString &key : std::exchange(m_leaving, {})) {
            m_live.remove(key);
        }
    }

    const QTemporaryDir m_directory;
    const QString m_address = "unix:path=" + m_directory.filePath("bus");
    const QString m_icon = QFINDTESTDATA("../../examples/icons/mira.png");
    QProcess m_server;
    std::unique_ptr<World> m_world;
    std::unique_ptr<ComVornNotificationsControlInterface> m_user;
    QRandomGenerator m_random{20};
    QHash<QString, int> m_live; ///< version that each key shows
    QHash<QString, uint> m_ids;
    QSet<QString> m_leaving; ///< the host asked for their removal
    int m_version = 0;
    int m_unchanged = 0, m_dismissed = 0, m_invoked = 0, m_removed = 0;               // what we did
    int m_new = 0, m_replaced = 0, m_closed = 0, m_toldRemoved = 0, m_toldAction = 0; // what came of it
};

void Load::run(int count)
{
    const auto key = [this] { return "0|org.example|" + QString::number(m_random.bounded(1000)); };
    const auto memory = [this] { return std::pair{residentKib(), residentKib(m_server.processId())}; };
    auto early = memory();
    for (int i = 1; i <= count; ++i) {
        add(key());
        if (i % 5 == 0) {
            userActs(key());
        }
        if (i % 20 == 0) {
            hostRemoves(key());
        }
        if (i % 2000 == 0) {
            letRemovalsHappen();
        }
        early = i == count / 10 ? memory() : early;
    }
    const auto late = memory(); // before we ask for a list of everything
    expectEqual("shown anew + replaced + dropped as unchanged", m_new + m_replaced + m_unchanged, count);
    expectEqual("shown anew, live + closed", m_new, m_live.size() + m_closed);
    expectEqual("closed, dismissed + invoked + removed by the host", m_closed, m_dismissed + m_invoked + m_removed);
    expectEqual("host told of removals, dismissed + invoked", m_toldRemoved, m_dismissed + m_invoked);
    expectEqual("host told of actions, invoked", m_toldAction, m_invoked);
    expectEqual("on the server, live", m_user->List().value().size(), m_live.size());
    expectEqual("icon files, live", m_world->cacheFiles().size(), m_live.size());
    for (const auto &[before, after] : {std::pair{early.first, late.first}, std::pair{early.second, late.second}}) {
        expect(after * 100 < before * 105, QString("host's, server's KiB: %1, %2").arg(before).arg(after));
    }
    std::printf("%d new, %d replaced, %d unchanged; %d dismissed, %d invoked, %d removed\n", m_new, m_replaced,
                m_unchanged, m_dismissed, m_invoked, m_removed);
}

void alertQueue(int count)
{
    World world("[Notifications]\nNotifAlertCommand = sh -c \"echo $TITLE >>$TMPDIR/out\"\n");
    QString expected;
    for (int i = 0; i < count; ++i) {
        world.play(QString(R"("title":"%1","importance":3)").arg(i).toUtf8());
        expected += QString::number(i) + '\n';
    }
    const auto runs = [] { return contents(qgetenv("TMPDIR") + "/out"); };
    expect(QTest::qWaitFor([&] { return runs() == expected; }, 600000), QString("%1 alerts in order").arg(count));
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Load().run(100000);
    alertQueue(10000);
    return failures == 0 ? 0 : 1;
}
