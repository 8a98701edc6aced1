// SPDX-License-Identifier: MIT
#include "tests/world.h"
#include "translation/iconcache.h"

#include <csignal>
#include <future>
#include <sys/fsuid.h>
#include <sys/resource.h>

/// The icon cache. Whatever becomes of it, notifications appear, without the icons that cannot be cached.
class IconsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void files()
    {
        const QByteArray large(16 * 1024 * 1024, 'L');
        for (const auto &[key, name] : std::initializer_list<std::pair<const char *, QString>>{
                 {"k", "k"}, {"a|b/c\nd", "a_b_c_d"}, {"", ""}, {":../k", ":.._k"}, {"50% #1 é?", "50% #1 é?"}}) {
            World world;
            world.add(key, "Title", "small", large);
            const QStringList names = {name + ".png", name + "_large.png"};
            const QString folder = world.cachePath() + '/';
            QCOMPARE(world.cacheFiles(), names);
            QCOMPARE(contents(folder + names[0]), "small");
            QVERIFY(contents(folder + names[1]) == large);
            const DesktopNotification shown = world.only();
            QCOMPARE(QUrl(shown.appIcon, QUrl::StrictMode).toLocalFile(), folder + names[0]);
            QCOMPARE(QUrl(shown.hints["image-path"].toString(), QUrl::StrictMode).toLocalFile(), folder + names[1]);
            QCOMPARE(world.log.filter(QRegularExpression("^(warning|critical)")), QStringList());
            world.add(key, "Title", "new", large); // unchanged otherwise
            QCOMPARE(contents(folder + names[0]), "new");
            QCOMPARE(world.notifies, QList<bool>{false});
            world.onServer([](Server &server) { server.Dismiss(1); });
            world.settle();
            QCOMPARE(world.cacheFiles(), *key ? QStringList() : names); // without a key it is not known any more
        }
    }

    void nothingCached_data()
    {
        // Whether too long a name fails in opening or in committing is the file system's choice.
        table({"fault", "log"}, R"(
            empty icons
            long key => any
            no directory
            file => critical: Cannot create icon cache dir at "%1"
            full disk
                => warning: Couldn't save small icon for "k"; critical: Couldn't save large icon for "k" "org.example" "Title"
        )");
    }
    void nothingCached()
    {
        QFETCH(QString, fault);
        QFETCH(QString, log);
        World world;
        const rlimit none = {0, RLIM_INFINITY};
        const rlimit any = {RLIM_INFINITY, RLIM_INFINITY};
        if (fault == "no directory" || fault == "file") {
            QVERIFY(QDir(world.cachePath()).removeRecursively());
        }
        if (fault == "file") {
            QVERIFY(QFile(world.cachePath()).open(QIODevice::WriteOnly));
            world.host->clear();
        } else if (fault == "full disk") {
            std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &none);
        }
        const QByteArray bytes = fault == "empty icons" ? "" : "bytes";
        world.add(fault == "long key" ? std::string(300, 'x') : "k", "Title", bytes, bytes);
        setrlimit(RLIMIT_FSIZE, &any);
        QCOMPARE(world.seen("appIcon=; !image-path"), "appIcon=; !image-path");
        QCOMPARE(world.cacheFiles(), QStringList());
        if (log != "any") {
            QCOMPARE(world.log.filter(QRegularExpression("^(warning|critical)")).join("; "),
                     log.replace("%1", world.cachePath()));
        }
    }

    void readOnly()
    {
        World world;
        world.add("k", "Title", "small", "large");
        world.log.clear();
        QVERIFY(QFile::setPermissions(qgetenv("TMPDIR"), QFile::Permissions(0x7755)));
        QVERIFY(QFile::setPermissions(world.cachePath(), QFile::Permissions(0x5555)));
        const int root = setfsuid(65534); // whom permissions do not bind
        world.host->clear();
        world.add("other", "Title", "small", "large");
        setfsuid(static_cast<uid_t>(root));
        QVERIFY(QFile::setPermissions(world.cachePath(), QFile::Permissions(0x7755)));
        QCOMPARE(world.log.filter(QRegularExpression("^(warning|critical)|icon cache")),
                 QStringList{QString("debug: Cannot clear icon cache dir at \"%1\"").arg(world.cachePath())});
        QCOMPARE(world.cacheFiles(), (QStringList{"k.png", "k_large.png"}));
        QCOMPARE(world.seen("appIcon=; !image-path"), "appIcon=; !image-path");
    }

    void staleTemporaryDirectory()
    {
        World world;
        world.unload();
        const QByteArray directory = qgetenv("TMPDIR");
        qputenv("TMPDIR", "/nonexistent");
        const int root = setfsuid(65534); // who could create the cache in the root directory
        world.load();
        world.add("k", "Title", "small", "large");
        const QString seen = world.seen("summary; appIcon=; !image-path");
        world.unload();
        setfsuid(static_cast<uid_t>(root));
        qputenv("TMPDIR", directory);
        QCOMPARE(seen, "summary=Title; appIcon=; !image-path");
        QVERIFY(world.log.contains("critical: Cannot create icon cache dir at \"/lumd/notif\""));
    }

    void parentOpenToAll()
    {
        World world;
        const QString parent = QFileInfo(world.cachePath()).path();
        QVERIFY(QDir(world.cachePath()).removeRecursively());
        QVERIFY(QFile::setPermissions(parent, QFile::Permissions(0x7777)));
        world.host->clear();
        QVERIFY(!QFile::permissions(parent).testFlag(QFile::WriteOther));
    }

    void clearedByManyAtOnce()
    {
        const QTemporaryDir directory;
        std::vector<std::future<bool>> runs(12);
        for (std::future<bool> &run : runs) {
            run = std::async(std::launch::async, [&directory] {
                bool created = true;
                QDir cache(directory.filePath("lumd/notif"));
                for (int i = 0; i < 200; ++i) {
                    removeIconCache(cache);
                    created = created && (cache.exists() || createIconCache(cache));
                }
                return created;
            });
        }
        QVERIFY(std::all_of(runs.begin(), runs.end(), [](std::future<bool> &run) { return run.get(); }));
    }

    void linkInPlaceOfTheDirectory()
    {
        World world;
        QTemporaryDir elsewhere;
        QVERIFY(QFile(elsewhere.filePath("precious")).open(QIODevice::WriteOnly));
        for (const QString &target : {elsewhere.path(), QString("/nonexistent")}) {
            QVERIFY(QDir(world.cachePath()).removeRecursively());
            QVERIFY(QFile::link(target, world.cachePath()));
            world.host->clear();
            QVERIFY(QFile::exists(elsewhere.filePath("precious")));
            QVERIFY(!QFileInfo(world.cachePath()).isSymLink() && QFileInfo(world.cachePath()).isDir());
        }
    }
};

QTEST_GUILESS_MAIN(IconsTest)
#include "tst_icons.moc"
