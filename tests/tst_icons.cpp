#include "server.h"
#include "world.h"

#include <QtTest/QtTest>

#include <csignal>
#include <sys/fsuid.h>
#include <sys/resource.h>

namespace
{

lumd::Record iconRecord(const std::string &key, const QByteArray &small, const QByteArray &large)
{
    lumd::Record record = lumd::newRecord(lumd::notificationRecord);
    lumd::setString(record.get(), 0x01, key);
    lumd::setString(record.get(), 0x21, "Title");
    lumd::setString(record.get(), 0x51, "org.example");
    lumd::setBytes(record.get(), 0x95, small.constData(), static_cast<size_t>(small.size()));
    lumd::setBytes(record.get(), 0xA5, large.constData(), static_cast<size_t>(large.size()));
    return record;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/// The rights of a user who owns nothing, also when the tests run as root.
class Unprivileged
{
public:
    Unprivileged()
        : m_uid(static_cast<uid_t>(setfsuid(65534)))
    {
    }
    ~Unprivileged() { setfsuid(m_uid); }

private:
    uid_t m_uid;
};

/// Nothing can be written into files, as on a full disk.
class FullDisk
{
public:
    FullDisk()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {0, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before = {};
};

} // namespace

class IconsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void files_data();
    void files();
    void nothingToSave_data();
    void nothingToSave();
    void unchangedUpdateRewritesTheFile();
    void brokenCache_data();
    void brokenCache();
    void linkInPlaceOfTheCache();
    void cacheThatCannotBeCleared();
};

void IconsTest::files_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("plain") << QByteArray("k") << QStringList{"k.png", "k_large.png"};
    QTest::newRow("separators") << QByteArray("a|b/c\nd") << QStringList{"a_b_c_d.png", "a_b_c_d_large.png"};
    QTest::newRow("empty") << QByteArray() << QStringList{".png", "_large.png"};
    QTest::newRow("upwards") << QByteArray("../../k") << QStringList{".._.._k.png", ".._.._k_large.png"};
    QTest::newRow("odd") << QByteArray("50% #1 \xc3\xa9?") << QStringList{"50% #1 é?.png", "50% #1 é?_large.png"};
    QTest::newRow("too long") << QByteArray(300, 'x') << QStringList();
}

void IconsTest::files()
{
    QFETCH(QByteArray, key);
    QFETCH(QStringList, names);
    const LogLines log;
    World world;
    const QByteArray large(16 * 1024 * 1024, 'L');
    world.host->add(iconRecord(key.toStdString(), "small", large).get());
    QCOMPARE(world.cacheFiles(), names);
    const DesktopNotification shown = world.only();
    const auto uri = [&](int index) {
        return index < names.size()
                   ? QUrl::fromLocalFile(world.cachePath() + '/' + names.at(index)).toString(QUrl::FullyEncoded)
                   : QString();
    };
    QCOMPARE(shown.appIcon, uri(0));
    QCOMPARE(shown.hints.value("image-path").toString(), uri(1));
    const QStringList bytes = {"small", large};
    for (int i = 0; i < names.size(); ++i) {
        QCOMPARE(contents(world.cachePath() + '/' + names.at(i)), bytes.at(i).toUtf8());
    }
    if (!names.isEmpty()) { // whether a name too long fails in opening or in committing is the file system's choice
        QCOMPARE(LogLines::take().filter(QRegularExpression("^(warning|critical)")), QStringList());
    }
}

void IconsTest::nothingToSave_data()
{
    QTest::addColumn<bool>("present");
    QTest::newRow("absent") << false;
    QTest::newRow("empty") << true;
}

void IconsTest::nothingToSave()
{
    QFETCH(bool, present);
    World world;
    if (present) {
        world.host->add(iconRecord("k", "", "").get());
    } else {
        world.add(R"({"key":"k"})");
    }
    QCOMPARE(world.only().appIcon, QString());
    QVERIFY(!world.only().hints.contains("image-path"));
    QCOMPARE(world.cacheFiles(), QStringList());
}

void IconsTest::unchangedUpdateRewritesTheFile()
{
    World world;
    world.host->add(iconRecord("k", "one", "one").get());
    world.host->add(iconRecord("k", "two", "two").get());
    QCOMPARE(world.desktop().size(), 1);
    QCOMPARE(world.notifies.size(), 1);
    QCOMPARE(contents(world.cachePath() + "/k.png"), QByteArray("two"));
}

void IconsTest::brokenCache_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QStringList>("afterClear");
    QTest::newRow("removed") << "removed" << QStringList();
    QTest::newRow("not writable") << "not writable" << QStringList();
    QTest::newRow("a file in its place") << "file" << QStringList{"critical: Cannot create icon cache dir at \"%1\""};
    QTest::newRow("full disk") << "full"
                               << QStringList{"warning: Couldn't save small icon for \"k\"",
                                              "critical: Couldn't save large icon for \"k\" \"org.example\" \"Title\""};
}

/// Notifications appear without the icons that cannot be cached.
void IconsTest::brokenCache()
{
    QFETCH(QString, fault);
    QFETCH(QStringList, afterClear);
    const LogLines log;
    World world;
    LogLines::take();
    QDir cache(world.cachePath());
    std::unique_ptr<Unprivileged> rights;
    std::unique_ptr<FullDisk> full;
    if (fault == "removed") {
        QVERIFY(cache.removeRecursively());
    } else if (fault == "not writable") {
        rights = std::make_unique<Unprivileged>();
    } else if (fault == "file") {
        QVERIFY(cache.removeRecursively());
        QFile file(world.cachePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        world.host->clear();
    } else {
        full = std::make_unique<FullDisk>();
    }
    world.host->add(iconRecord("k", "small", "large").get());
    QStringList expectedLines;
    for (const QString &line : afterClear) {
        expectedLines.append(line.contains('%') ? line.arg(world.cachePath()) : line);
    }
    QCOMPARE(LogLines::take().filter(QRegularExpression("^(warning|critical)")), expectedLines);
    const DesktopNotification shown = world.only();
    QCOMPARE(shown.appIcon, QString());
    QVERIFY(!shown.hints.contains("image-path"));
}

void IconsTest::linkInPlaceOfTheCache()
{
    World world;
    QTemporaryDir elsewhere;
    QVERIFY(QFile(elsewhere.filePath("precious")).open(QIODevice::WriteOnly));
    for (const QString &target : {elsewhere.path(), QString("/nonexistent")}) {
        QVERIFY(QDir(world.cachePath()).removeRecursively());
        QVERIFY(QFile::link(target, world.cachePath()));
        world.host->clear();
        QVERIFY(QFile::exists(elsewhere.filePath("precious")));
        QVERIFY(!QFileInfo(world.cachePath()).isSymLink());
        QVERIFY(QFileInfo(world.cachePath()).isDir());
    }
}

void IconsTest::cacheThatCannotBeCleared()
{
    const LogLines log;
    World world;
    world.host->add(iconRecord("k", "small", "large").get());
    LogLines::take();
    QVERIFY(QFile::setPermissions(qgetenv("TMPDIR"), QFile::Permissions(0x7755)));
    {
        const Unprivileged rights;
        world.host->clear();
    }
    QCOMPARE(LogLines::take().filter("icon cache"),
             QStringList{QString("debug: Cannot clear icon cache dir at \"%1\"").arg(world.cachePath())});
    QCOMPARE(world.cacheFiles().size(), 2);
}

QTEST_GUILESS_MAIN(IconsTest)
#include "tst_icons.moc"
