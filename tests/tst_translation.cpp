// SPDX-License-Identifier: MIT
#include "tests/fixture.h"

namespace n = field::notification;
namespace a = field::action;
namespace r = field::result;

namespace
{

const QVariant low = QVariant::fromValue<uchar>(0);
const QVariant normal = QVariant::fromValue<uchar>(1);
const QVariant critical = QVariant::fromValue<uchar>(2);

// clang-format off
/// The properties of all notifications, and of each kind.
const QVariantMap bare = {
    {"id", 1U}, {"appName", ""}, {"appIcon", ""}, {"summary", ""}, {"body", ""}, {"urgency", normal},
    {"x-vorn-owner", "tst_translation"}};
const QVariantMap added = {
    {"urgency", low}, {"x-vorn-priority", 0}, {"x-vorn-color", "auto"}, {"x-vorn-display-on", true},
    {"x-vorn-origin-key", "a|b"}, {"x-vorn-origin-package", ""}, {"x-vorn-user-removable", false}};
const QVariantMap message = {{"appIcon", "icon-s-android"}, {"transient", true}};
const QVariantMap uninstalled = {{"appIcon", "icon-s-android"}, {"image-path", "icon-s-android"}};
const QVariantMap optimising = {
    {"appIcon", "icon-s-android"}, {"appName", "Orvix"}, {"resident", true}, {"x-vorn-user-removable", false}};
// clang-format on

/// Returns `look` with the `differences` applied; an invalid one removes its property.
QVariantMap with(QVariantMap look, const QVariantMap &differences)
{
    look.insert(differences);
    for (const QString &missing : look.keys({})) {
        look.remove(missing);
    }
    return look;
}

/// A call of the host, and the properties of its notification, if they differ from the usual ones.
struct Deed {
    std::function<void(const Fixture &)> happen;
    QVariantMap look;
};
Deed add(const Fields &fields)
{
    return {[=](const Fixture &fixture) { fixture.add("a|b", fields); }, added};
}
Deed say(void (lumd::Host::*call)(lu_field *), const QVariantMap &look, const Fields &fields)
{
    return {[=](const Fixture &fixture) { (fixture.host.get()->*call)(record(lumd::messageRecord, fields).get()); },
            look};
}
Deed optimise(const char *summary, const char *body, double progress)
{
    return {[=](const Fixture &fixture) { fixture.host->dexoptNotify(summary, body, progress); }, optimising};
}

} // namespace

/// The look of the host's notifications and messages on the desktop, at first and after an update.
class TranslationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void properties()
    {
        const auto publish = &lumd::Host::publish;
        const auto install = &lumd::Host::installationResult;
        const auto uninstall = &lumd::Host::uninstallationResult;
        const QVariantMap installed = with(uninstalled, {{"transient", true}});
        const std::vector<std::pair<Deed, QVariantMap>> rows = {
            {add({}), {}},
            {add({{n::appName, "Chat"}, {n::packageName, "p"}}), {{"appName", "Chat"}, {"x-vorn-origin-package", "p"}}},
            {add({{n::title, "Ada"}, {n::text, "✓\nHi"}}), {{"summary", "Ada"}, {"body", "✓\nHi"}}},
            {add({{n::title, QByteArray("caf\xe9")}, {n::subText, "To"}}),
             {{"summary", "caf\uFFFD"}, {"x-vorn-sub-text", "To"}}},
            {add({{n::category, "MSG"}}), {{"category", "MSG"}}},
            {add({{n::category, "msg"}}), {{"category", "chat"}, {"x-vorn-feedback", "chat,chat_exists"}}},
            {add({{n::category, "event"}}), {{"category", "calendar"}, {"x-vorn-feedback", "calendar"}}},
            {add({{n::category, "email"}}), {{"category", "email"}, {"x-vorn-feedback", "email,email_exists"}}},
            {add({{n::category, "alarm"}}), {{"category", "clock"}, {"x-vorn-feedback", "clock"}}},
            {add({{n::importance, -1}}), {{"x-vorn-priority", -25}, {"urgency", normal}}},
            {add({{n::importance, 1}}), {{"x-vorn-priority", 25}}},
            {add({{n::importance, 2}}), {{"x-vorn-priority", 50}, {"urgency", normal}}},
            {add({{n::importance, 4}}), {{"x-vorn-priority", 100}, {"urgency", critical}}},
            {add({{n::importance, 5}}), {{"x-vorn-priority", 125}, {"urgency", critical}}},
            {add({{n::importance, 6}}), {{"x-vorn-priority", 150}, {"urgency", normal}}},
            {add({{n::importance, 5}, {n::lowUrgency, true}}), {{"x-vorn-priority", 125}}},
            {add({{n::importance, 2147483647}}), {{"x-vorn-priority", 2147483623}, {"urgency", normal}}},
            {add({{n::color, 1}, {n::ledColor, 1}}), {{"x-vorn-color", "#000001"}, {"x-vorn-led-argb", 1}}},
            {add({{n::color, -16711936}, {n::ledColor, 1LL << 32}}), {{"x-vorn-color", "#ff00ff00"}}},
            {add({{n::timestamp, 4294967297LL}, {n::itemCount, -1}}), {{"x-vorn-timestamp", 4294967297LL}}},
            {add({{n::timestamp, 1}, {n::itemCount, 1}}), {{"x-vorn-timestamp", 1LL}, {"x-vorn-item-count", 1}}},
            {add({{n::color, 1LL << 32}, {n::itemCount, 4294967299LL}}), {{"x-vorn-item-count", 3}}},
            {add({{n::silent, true}}), {{"suppress-sound", true}, {"x-vorn-display-on", {}}}},
            {add({{n::silent, true}, {n::vibrate, true}}), {{"suppress-sound", true}, {"x-vorn-vibrate", true}}},
            {add({{n::progressMax, 4}, {n::progress, 1}}), {{"x-vorn-progress", 0.25}, {"value", 25}}},
            {add({{n::progressMax, 1}, {n::progress, 1}}), {{"x-vorn-progress", 1.0}, {"value", 100}}},
            {add({{n::progressMax, 2}, {n::progress, 3}}), {{"x-vorn-progress", 1.5}, {"value", 100}}},
            {add({{n::progressMax, 2}, {n::progress, -1}}), {{"x-vorn-progress", -0.5}}},
            {add({{n::progressMax, 0}, {n::progress, 1}}), {}},
            {add({{n::progressMax, 2}, {n::progress, 1}, {n::indeterminate, true}}), {{"x-vorn-progress", -1}}},
            {add({{n::ongoing, true}, {n::clearable, true}}), {{"resident", true}, {"x-vorn-user-removable", {}}}},
            {add({{n::actions, list({{{a::title, "R"}, {a::freeInput, true}}, {{a::choices, list(Choices{"Y"})}}})}}),
             {}},
            {say(publish, message, {}), {}},
            {say(publish, message, {{field::message::text, "T"}, {field::message::warning, true}}),
             {{"appIcon", "icon-lock-warning"}, {"urgency", critical}, {"summary", "T"}}},
            {say(install, installed, {{r::headline, "h"}, {r::installationDetail, "d"}, {r::appName, "X"}}),
             {{"appName", "X"}, {"summary", "h: d"}, {"x-vorn-preview-summary", "h: d"}}},
            {say(install, installed, {{r::headline, "h"}, {r::message, "m"}, {r::uninstallationDetail, "d"}}),
             {{"summary", "h"}, {"x-vorn-preview-summary", "h"}}},
            {say(uninstall, uninstalled, {{r::uninstallationDetail, "d"}, {r::code, 1}}),
             {{"summary", ": d"}, {"x-vorn-preview-summary", ": d"}}},
            {say(uninstall, uninstalled, {{r::message, "m"}, {r::code, 1LL << 32}, {r::installationDetail, "d"}}),
             {{"body", "m"}, {"x-vorn-preview-body", "m"}}},
            {optimise("Optimising", "1 of 2", 0.5),
             {{"summary", "Optimising"}, {"body", "1 of 2"}, {"value", 50}, {"x-vorn-progress", 0.5}}},
            {optimise("s", nullptr, -1), {{"summary", "s"}, {"x-vorn-progress", -1.0}}},
        };
        for (const auto &[deed, differences] : rows) {
            Fixture fixture;
            deed.happen(fixture);
            QCOMPARE(described(fixture.only()), described(with(with(bare, deed.look), differences)));
        }
    }

    void optimisation()
    {
        Fixture fixture;
        const auto shown = [&fixture](const char *summary) {
            fixture.host->dexoptNotify(summary, "", 0);
            return fixture.only()["id"].toUInt();
        };
        QCOMPARE((QList<uint>{shown(nullptr), shown("s"), shown("again"), shown(""), shown("s")}),
                 (QList<uint>{0, 1, 1, 0, 2}));
        fixture.host->clear();
        QCOMPARE(shown("s"), 3U);
        fixture.unload();
        QVERIFY(fixture.desktop().isEmpty());
    }

    void iconFiles()
    {
        const QByteArray large(16 * 1024 * 1024, 'L');
        for (const auto &[key, name] : std::initializer_list<std::pair<const char *, QString>>{
                 {"k", "k"}, {"a|b/c\nd", "a_b_c_d"}, {"", ""}, {":../k", ":.._k"}, {"50% #1 é?", "50% #1 é?"}}) {
            Fixture fixture;
            fixture.happened();
            fixture.add(key, {{n::smallIcon, "s"}, {n::largeIcon, large}, {n::color, 1}, {n::clearable, true}});
            const QString path = fixture.cachePath() + '/' + name;
            QCOMPARE(fixture.happened().mid(0, 3), (QStringList{"debug: Small icon path:  \"" + path + ".png\"",
                                                                "debug: Large icon path:  \"" + path + "_large.png\"",
                                                                "debug: notif colour: 1 \"#000001\""}));
            QVERIFY(contents(path + "_large.png") == large);
            QCOMPARE(QUrl(fixture.only()["appIcon"].toString(), QUrl::StrictMode).toLocalFile(), path + ".png");
            QCOMPARE(QUrl(fixture.only()["image-path"].toString(), QUrl::StrictMode).toLocalFile(),
                     path + "_large.png");
            fixture.add(key, {{n::smallIcon, "new"}}); // unchanged otherwise
            QCOMPARE(contents(path + ".png"), "new");
            fixture.onServer([](Server &server) { server.dismiss(1); });
            QCOMPARE(fixture.cacheFiles().isEmpty(), *key != 0); // without a key, nobody knows whose they are
        }
    }

    void remoteActions()
    {
        Fixture fixture("[Notifications]\nNotifActionInput = true\n");
        fixture.add("k",
                    {{n::actions,
                      list({{{a::title, "default"}, {a::identifier, "9"}},
                            {{a::title, "\"\\\n"}, {a::identifier, "1"}, {a::inputLabel, "Text"}, {a::freeInput, true}},
                            {{a::title, "Answer"}, {a::identifier, "2|x"}, {a::choices, list(Choices{"Yes", "No"})}},
                            {{a::identifier, "3"}}})}});
        const auto call = [](const char *name, const char *title, const char *method, const char *input = "") {
            return QString(R"({"name":"%1","displayName":"%2","service":"com.velmo.lumd","path":"/com/velmo/lumd",)"
                           R"("interface":"com.velmo.lumd","method":"%3","arguments":["k","%2"]%4})")
                .arg(name, title, method, input);
        };
        const char *const invoke = "notificationActionInvoke";
        const char *const answer = "notificationActionInvokeInput";
        const QStringList calls = {
            call("default", "default", invoke),
            call(R"(\"\\\n|1)", R"(\"\\\n)", answer, R"(,"input":{"label":"Text","freeInput":true,"choices":[]})"),
            call("Answer|2|x", "Answer", answer, R"(,"input":{"label":"","freeInput":false,"choices":["Yes","No"]})"),
            call("|3", "", invoke)};
        QCOMPARE(fixture.only()["x-vorn-remote-actions"].toString(), '[' + calls.join(',') + ']');
    }

    /// Only visible changes count, and the new version takes the place of the old one.
    void updates()
    {
        Fixture fixture;
        const auto update = [&fixture](const Fields &fields) {
            fixture.happened();
            fixture.add("k", fields);
            return fixture.happened().join('\n');
        };
        const QString changed = "debug: Notification  1  ( \"k\" ) was changed\n"
                                "debug: Published notification  \"k\"  as  1  with importance %1\nreplaced 1";
        const QString unchanged = "debug: Notification  1  ( \"k\" ) unchanged\n"
                                  "debug: Not publishing unchanged notification  \"k\"";
        update({});
        QCOMPARE(update({{n::title, "A"}}), "debug: summary \"A\" \"\"\n" + changed.arg(0));
        Fields fields = {{n::title, "A"}, {n::text, "B"}, {n::itemCount, 2}, {n::importance, 3}};
        QCOMPARE(update(fields),
                 "debug: body \"B\" \"\"\ndebug: itemCount 2 0\ndebug: priority \"75\" \"0\"\n" + changed.arg(3));
        fields.emplace_back(n::actions, list({{{a::title, "C"}}}));
        QCOMPARE(update(fields), changed.arg(3));
        for (const uint32_t id : {n::appName, n::subText, n::packageName, n::category, n::color, n::timestamp,
                                  n::ongoing, n::progressMax, n::silent, n::vibrate, n::clearable, n::lowUrgency}) {
            fields.emplace_back(id, "1");
        }
        QCOMPARE(update(fields), "debug: notif colour: 1 \"#000001\"\n" + unchanged);
        fields.emplace_back(n::itemCount, 3);
        QCOMPARE(update(fields).section('\n', 1, 1), "debug: itemCount 3 2");
    }
};

QTEST_GUILESS_MAIN(TranslationTest)
#include "tst_translation.moc"
