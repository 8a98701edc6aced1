// 100,000 notifications over 1,000 keys against a real server, with all that may happen to them: each has to be
// accounted for, memory has to stay flat. Then 10,000 alerts.
#include "rig.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include <cstdio>

namespace
{

int failures = 0;

void expectEqual(const char *what, qint64 seen, qint64 expected)
{
    failures += seen == expected ? 0 : 1;
    std::printf("%-52s %8lld%s\n", what, static_cast<long long>(seen),
                seen == expected ? "" : qPrintable(QString(" **instead of %1**").arg(expected)));
}

void expectFlat(const char *what, qint64 early, qint64 late)
{
    const double growth = 100.0 * static_cast<double>(late - early) / static_cast<double>(early);
    failures += growth < 5 ? 0 : 1;
    std::printf("%-27s %6lld KiB after 10,000, %6lld KiB after all: %+.1f %%%s\n", what, static_cast<long long>(early),
                static_cast<long long>(late), growth, growth < 5 ? "" : " **not flat**");
}

class Load
{
public:
    Load();
    void run(int count);

private:
    void add();
    void userActs();
    void hostRemoves();
    void letRemovalsHappen();
    QString randomKey() { return "0|org.example|" + QString::number(m_random.bounded(1000)); }

    Rig m_rig{Rig::Peer};
    std::unique_ptr<ComVornNotificationsControlInterface> m_user = m_rig.user();
    QRandomGenerator m_random{20};
    QHash<QString, int> m_live; ///< version that each key shows
    QHash<QString, uint> m_ids;
    QSet<QString> m_leaving; ///< the host asked for their removal
    int m_version = 0;
    int m_unchanged = 0, m_dismissed = 0, m_invoked = 0, m_removed = 0;               // what we did
    int m_new = 0, m_replaced = 0, m_closed = 0, m_toldRemoved = 0, m_toldAction = 0; // what came of it
};

Load::Load()
{
    QObject::connect(m_user.get(), &ComVornNotificationsControlInterface::Shown,
                     [this](const DesktopNotification &shown, bool replaced) {
                         ++(replaced ? m_replaced : m_new);
                         m_ids.insert(shown.hints.value("x-vorn-origin-key").toString(), shown.id);
                     });
    QObject::connect(m_user.get(), &ComVornNotificationsControlInterface::Closed, [this](uint, uint) { ++m_closed; });
    m_rig.world->host->onRemoved = [this](const std::string &) { ++m_toldRemoved; };
    m_rig.world->host->onAction = [this](const std::string &, lu_field *) { ++m_toldAction; };
}

void Load::add()
{
    const QString key = randomKey();
    const bool again = m_live.contains(key) && m_random.bounded(5) == 0;
    const int version = again ? m_live.value(key) : ++m_version;
    const lumd::Record fresh = record(key.toStdString(), std::to_string(version), "Some text.");
    std::vector<lumd::Record> actions;
    actions.push_back(lumd::newRecord(lumd::actionElementRecord));
    lumd::setString(actions.back().get(), 0x01, "default");
    lumd::setRecords(fresh.get(), 0x187, std::move(actions));
    m_rig.world->host->add(fresh.get());
    m_unchanged += again ? 1 : 0;
    m_live.insert(key, version);
    m_leaving.remove(key);
}

void Load::userActs()
{
    const QString key = randomKey();
    m_rig.world->settle();
    if (!m_live.contains(key) || m_leaving.contains(key)) {
        return;
    }
    const bool dismiss = m_random.bounded(2) == 0;
    QDBusPendingReply<> reply = dismiss ? m_user->Dismiss(m_ids[key]) : m_user->Invoke(m_ids[key], "default");
    reply.waitForFinished();
    m_rig.world->settle();
    ++(dismiss ? m_dismissed : m_invoked);
    m_live.remove(key);
}

void Load::hostRemoves()
{
    const QString key = randomKey();
    m_rig.world->host->remove(key.toUtf8().constData());
    if (m_live.contains(key)) {
        m_leaving.insert(key);
    }
}

/// Their timers fire here alone; the rest runs without an event loop.
void Load::letRemovalsHappen()
{
    QTest::qWait(700);
    for (const QString &key : qAsConst(m_leaving)) {
        m_live.remove(key);
        ++m_removed;
    }
    m_leaving.clear();
}

void Load::run(int count)
{
    QElapsedTimer timer;
    timer.start();
    qint64 early[2] = {};
    for (int i = 1; i <= count; ++i) {
        add();
        if (i % 5 == 0) {
            userActs();
        }
        if (i % 20 == 0) {
            hostRemoves();
        }
        if (i % 2000 == 0) {
            letRemovalsHappen();
        }
        if (i == count / 10) {
            early[0] = residentKib();
            early[1] = residentKib(m_rig.serverId());
        }
    }
    const double seconds = static_cast<double>(timer.elapsed()) / 1000;
    const qint64 late[2] = {residentKib(), residentKib(m_rig.serverId())}; // before we ask for a list of everything
    expectEqual("notifications: shown + replaced + dropped as unchanged", m_new + m_replaced + m_unchanged, count);
    expectEqual("  shown anew: live + closed", m_new, m_live.size() + m_closed);
    expectEqual("closed: dismissed + invoked + removed by the host", m_closed, m_dismissed + m_invoked + m_removed);
    expectEqual("host told of removals: dismissed + invoked", m_toldRemoved, m_dismissed + m_invoked);
    expectEqual("host told of actions: invoked", m_toldAction, m_invoked);
    expectEqual("live on the server", m_rig.desktop().size(), m_live.size());
    expectEqual("icon files: those of the live", m_rig.world->cacheFiles().size(), m_live.size());
    expectFlat("memory of the host", early[0], late[0]);
    expectFlat("memory of the server", early[1], late[1]);
    std::printf("%d new, %d replaced, %d unchanged; %d dismissed, %d invoked, %d removed; %.0f s\n\n", m_new,
                m_replaced, m_unchanged, m_dismissed, m_invoked, m_removed, seconds);
}

void alertQueue(int count)
{
    QElapsedTimer timer;
    timer.start();
    QTemporaryFile out;
    out.open();
    const std::string file = out.fileName().toStdString();
    World world("[Notifications]\nNotifAlertCommand = sh -c \"echo $TITLE >>" + file + "\"\n");
    QByteArray expected;
    for (int i = 0; i < count; ++i) {
        add(world, "k", std::to_string(i));
        expected += QByteArray::number(i) + '\n';
    }
    while (out.size() < expected.size() && timer.elapsed() < 600000) {
        QTest::qWait(100);
    }
    const QList<QByteArray> runs = out.readAll().split('\n');
    const QList<QByteArray> wanted = expected.split('\n');
    const auto differing = std::mismatch(runs.begin(), runs.end(), wanted.begin(), wanted.end()).first;
    expectEqual("alerts run in order", differing - runs.begin() - 1, count);
    std::printf("%.0f s\n", static_cast<double>(timer.elapsed()) / 1000);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    std::setbuf(stdout, nullptr);
    Load().run(100000);
    alertQueue(10000);
    return failures == 0 ? 0 : 1;
}
