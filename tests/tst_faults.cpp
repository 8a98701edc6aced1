// SPDX-License-Identifier: MIT
#include "tests/fixture.h"
#include "translation/iconcache.h"

#include <QtCore/QScopeGuard>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
namespace n = field::notification;

namespace
{

constexpr uid_t nobody = 65534;

/// An entry that somebody puts into the file system.
struct Entry {
    fs::file_type type;
    mode_t mode = 0755;
    uid_t owner = 0;

    /// A link leads to `target`.
    void put(const fs::path &path, const fs::path &target) const
    {
        if (type == fs::file_type::none) {
            return;
        }
        fs::remove_all(path);
        if (type == fs::file_type::symlink) {
            return fs::create_symlink(target, path);
        }
        if (type == fs::file_type::directory) {
            fs::create_directory(path);
        } else {
            std::ofstream created(path);
        }
        QVERIFY(chmod(path.c_str(), mode) == 0 && (owner == 0 || chown(path.c_str(), owner, owner) == 0));
    }
};
constexpr Entry same{fs::file_type::none};
constexpr Entry file{fs::file_type::regular, 0666};
constexpr Entry link{fs::file_type::symlink};
constexpr Entry folder{fs::file_type::directory};
constexpr Entry openFolder{fs::file_type::directory, 0777};
constexpr Entry lockedFolder{fs::file_type::directory, 0555};
constexpr Entry nobodys{fs::file_type::directory, 0777, nobody};

enum When { Before, Later }; ///< the plug-in is loaded
enum Icons { Cached, NotCached };

/// Entries in place of the folder "lumd", the icon cache in it and an icon's file there, and their effect.
struct CacheFault {
    const char *name;
    When when;
    Entry lumd, cache, icon;
    Icons icons;
    QString log = {};
    int mode = 0711; ///< of the folder, if icons are cached
    uid_t user = 0;
    rlim_t room = RLIM_INFINITY;
    const char *date = "now"; ///< of the folders
};

const QString uncleared = "debug: Cannot clear icon cache dir at \"%1\"";
const QString uncreated = "critical: Cannot create icon cache dir at \"%1\"";
const QString unsaved = "warning: Couldn't save small icon for \"k\"; "
                        "critical: Couldn't save large icon for \"k\" \"p\" \"t\"";

const CacheFault cacheFaults[] = {
    {"none", Before, same, same, same, Cached},
    {"open to all", Before, openFolder, openFolder, file, Cached, {}, 0775},
    {"of the year 2040", Later, same, same, same, Cached, {}, 0711, 0, RLIM_INFINITY, "2040-01-01"},
    {"a file in its place", Before, folder, file, same, NotCached, uncreated},
    {"a link in its place", Before, folder, link, same, Cached, {}, 0755},
    {"a link in its place later", Later, same, link, same, NotCached},
    {"a link in its parent's place", Before, link, same, same, NotCached, uncleared},
    {"a link in its parent's place later", Later, link, same, same, NotCached},
    {"a link within", Before, folder, folder, link, Cached, {}, 0755},
    {"a link in the icon's place", Later, same, same, link, Cached},
    {"disk full", Later, same, same, same, NotCached, unsaved, 0, 0, 0},
    {"another user's parent", Before, nobodys, link, same, NotCached, uncleared},
    {"another user's", Before, folder, nobodys, same, NotCached, uncleared},
    {"of a user", Before, same, same, same, Cached, {}, 0711, nobody},
    {"of a user, read-only", Later, lockedFolder, lockedFolder, same, NotCached, {}, 0, nobody},
    {"of a user, in root's", Before, folder, nobodys, same, Cached, uncleared, 0755, nobody},
};

void limitFiles(rlim_t size)
{
    const rlimit room = {size, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &room);
}

int mode(const fs::path &path) { return static_cast<int>(fs::symlink_status(path).permissions()); }

} // namespace

/// Faults never stop the host, and cost as few notifications as possible.
class FaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void iconCache_data() { nameRows(cacheFaults); }
    void iconCache()
    {
        QFETCH(size_t, row);
        const CacheFault &fault = cacheFaults[row];
        if (geteuid() != 0 && (fault.user + fault.lumd.owner + fault.cache.owner) != 0) {
            QSKIP("only root can be another user");
        }
        umask(0);
        std::signal(SIGXFSZ, SIG_IGN);
        QVERIFY(fault.user == 0 || seteuid(fault.user) == 0);
        Fixture fixture;
        const auto asBefore = qScopeGuard([&fixture] {
            fixture.unload(); // as this user: root can create the cache anywhere
            static_cast<void>(seteuid(0));
        });
        const fs::path cache = fixture.cachePath().toStdString();
        const fs::path others = cache.parent_path().parent_path() / "others";
        fs::create_directories(others / "notif");
        std::ofstream(others / "notif" / "k.png") << "precious";
        const auto arrange = [&](When when) {
            if (when == fault.when) {
                QVERIFY(fault.user == 0 || seteuid(0) == 0);
                fault.lumd.put(cache.parent_path(), others);
                fault.cache.put(cache, others / "notif");
                fault.icon.put(cache / "k.png", others / "notif" / "k.png");
                QVERIFY(fault.user == 0 || seteuid(fault.user) == 0);
            }
        };
        fixture.unload();
        fs::remove_all(cache.parent_path());
        arrange(Before);
        fixture.happened();
        fixture.load();
        arrange(Later);
        const auto date = [&](const char *text) { // "now" again for the functions of the test, which have 32 bits
            const QStringList folders = {cache.parent_path().c_str(), cache.c_str()};
            return fault.date == QString("now") || QProcess::execute("touch", QStringList{"-d", text} + folders) == 0;
        };
        QVERIFY(date(fault.date));
        limitFiles(fault.room);
        fixture.add(
            "k",
            {{n::smallIcon, "i"}, {n::largeIcon, "I"}, {n::clearable, true}, {n::packageName, "p"}, {n::title, "t"}});
        QVERIFY(date("now"));
        limitFiles(RLIM_INFINITY);
        const QStringList complaints = fixture.happened().filter(QRegularExpression("^(warning|critical)|Cannot"));
        QCOMPARE(complaints.join("; "), QString(fault.log).replace("%1", fixture.cachePath()));
        const bool cached = fault.icons == Cached;
        QCOMPARE(!fixture.only()["appIcon"].toString().isEmpty(), cached);
        QCOMPARE(fixture.only().contains("image-path"), cached);
        if (cached) {
            QCOMPARE(contents(fixture.cachePath() + "/k.png"), "i");
            QCOMPARE(mode(cache.parent_path()), fault.mode);
            QCOMPARE(mode(cache), 0700);
            QCOMPARE(mode(cache / "k.png"), 0600);
        }
        fixture.onServer([](Server &server) { server.dismiss(1); });
        QVERIFY(!cached || !fs::exists(cache / "k.png"));
        fixture.unload();
        QCOMPARE(contents(QString::fromStdString(others / "notif/k.png")), "precious");
    }

    void clearedByManyAtOnce()
    {
        const QTemporaryDir directory;
        std::atomic<bool> created = true;
        std::vector<std::future<void>> runs(12);
        for (std::future<void> &run : runs) {
            run = std::async(std::launch::async, [&] {
                QDir cache(directory.filePath("lumd/notif"));
                for (int i = 0; i < 200; ++i) {
                    removeIconCache(cache);
                    created = created && (cache.exists() || createIconCache(cache));
                }
            });
        }
        runs.clear();
        QVERIFY(created);
    }

    void nothingButNull()
    {
        Fixture fixture;
        fixture.host->remove(nullptr);
        fixture.host->dexoptNotify(nullptr, nullptr, std::nan(""));
        for (const auto call : {&lumd::Host::add, &lumd::Host::publish, &lumd::Host::installationResult,
                                &lumd::Host::uninstallationResult}) {
            (fixture.host.get()->*call)(nullptr);
        }
        QCOMPARE(fixture.desktop().size(), 4);
    }

    void tooLarge()
    {
        Fixture fixture;
        fixture.add(QByteArray(300, 'k'), {{n::smallIcon, "i"}, {n::largeIcon, "I"}}); // for the file system
        QCOMPARE(fixture.only()["appIcon"], "");
        QVERIFY(!fixture.only().contains("image-path"));
        const std::vector<Fields> actions(10000, {{field::action::title, "t"}});
        fixture.add("k", {{n::text, QByteArray(20000, 'x')}, {n::actions, list(actions)}});
        QCOMPARE(fixture.desktop().value(1).actions.size(), 20000);
        fixture.add(QByteArray(20000, 'x'), {{n::actions, list(actions)}}); // for a D-Bus message
        QCOMPARE(fixture.desktop().size(), 2);
        fixture.host->clear();
        QVERIFY(fixture.desktop().isEmpty());
    }
};

QTEST_GUILESS_MAIN(FaultsTest)
#include "tst_faults.moc"
