// SPDX-License-Identifier: MIT
// Bytes become what a host, a user, a configuration file or a script may send: FUZZ_TARGET in the environment says
// which.
#include "standins/config-parser/configparser.h"
#include "standins/server/server.h"
#include "tests/world.h"
#include "tools/lumdsim/script.h"

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>

namespace
{

/// Takes an input apart. Texts end with a zero byte, numbers are texts; what has ended gives empty ones.
struct Input {
    std::string rest;

    char byte() { return take(1)[0]; }
    std::string text()
    {
        std::string text = take(rest.find('\0'));
        take(1);
        return text;
    }
    int64_t number() { return std::strtoll(text().c_str(), nullptr, 10); }

private:
    std::string take(size_t count)
    {
        return std::exchange(rest, count < rest.size() ? rest.substr(count) : std::string()).substr(0, count);
    }
};

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

void requireNoRecords()
{
    require(lumd::takeFindings().empty(), "host records are misused");
    require(lumd::liveRecords() == 0, "host records leak");
}

std::unique_ptr<World> theWorld;

/// One that lives for many inputs, so that each takes little time.
World &world(const char *config)
{
    static int uses = 0;
    if (uses++ % 1000 == 0) {
        theWorld.reset();
        theWorld = std::make_unique<World>(config);
        // Registered once there is all that it needs, which thus outlives it.
        [[maybe_unused]] static const int registered = std::atexit([] { theWorld.reset(); });
    }
    return *theWorld;
}

/// Whatever an input did, clearing leaves no trace of it.
void tidy(World &world)
{
    world.host->connected();
    world.host->clear();
    require(world.desktop().isEmpty(), "clearing leaves notifications on the desktop");
    require(world.cacheFiles().isEmpty(), "clearing leaves icons");
    requireNoRecords();
    QCoreApplication::processEvents(); // earlier inputs' timers
    world.notifies.clear();
    world.told.clear();
}

/// All that the plug-in reads, by letter from A. Other letters stand for an identifier of any kind.
constexpr uint32_t fields[] = {0x01,  0x11,  0x21,  0x31,  0x41, 0x51,  0x61,  0x71,  0x95,  0xA5,
                               0xB2,  0xC2,  0xD2,  0xE2,  0xF2, 0x102, 0x112, 0x124, 0x134, 0x144,
                               0x154, 0x164, 0x174, 0x187, 0x02, 0x44,  0x57,  0x84};

lumd::Record record(Input &input, uint32_t recordType)
{
    lumd::Record record = lumd::newRecord(recordType);
    for (char letter = input.byte(); letter != '\0'; letter = input.byte()) {
        const size_t index = static_cast<uint8_t>(letter) - size_t{'A'};
        const uint32_t id = index < std::size(fields) ? fields[index] : static_cast<uint32_t>(input.number());
        if (const uint32_t type = id & 15; type == 1) {
            lumd::setString(record.get(), id, input.text());
        } else if (type == 2) {
            lumd::setInt(record.get(), id, input.number());
        } else if (type == 4) {
            lumd::setBool(record.get(), id, input.byte() != '0');
        } else if (type == 5) {
            const std::string bytes = input.text();
            lumd::setBytes(record.get(), id, bytes.data(), bytes.size());
        } else if (id == 0x57) {
            std::vector<std::string> strings;
            while (input.byte() == '+') {
                strings.push_back(input.text());
            }
            lumd::setStrings(record.get(), id, std::move(strings));
        } else if (type == 7) {
            std::vector<lumd::Record> records;
            while (input.byte() == '+') {
                records.push_back(::record(input, lumd::actionElementRecord));
            }
            lumd::setRecords(record.get(), id, std::move(records));
        }
    }
    return record;
}

void fuzzRecord(Input &input)
{
    World &world = ::world("[Notifications]\nNotifActionInput=yes\n");
    const lumd::Host &host = *world.host;
    while (!input.rest.empty()) {
        const char deed = input.byte();
        if (deed == 'a') {
            host.add(record(input, lumd::notificationRecord).get());
        } else if (deed == 'p') {
            host.publish(record(input, lumd::messageRecord).get());
        } else if (deed == 'i') {
            host.installationResult(record(input, lumd::installationResultRecord).get());
        } else if (deed == 'u') {
            host.uninstallationResult(record(input, lumd::uninstallationResultRecord).get());
        } else if (deed == 'o') {
            const std::string summary = input.text();
            const std::string body = input.text();
            host.dexoptNotify(summary.c_str(), body.c_str(), static_cast<double>(input.number()) / 100);
        } else if (deed == 'r') {
            host.remove(input.text().c_str());
        } else if (deed == 'c') {
            host.connected();
        } else if (deed == 'd') {
            for (const DesktopNotification &shown : world.desktop()) {
                world.onServer([&shown](Server &server) { server.Dismiss(shown.id); });
            }
        }
    }
    tidy(world);
}

/// How the host is told of an action: a byte order mark at the start of a text is lost on the way.
QString report(QString action)
{
    if (action.indexOf('|') == action.size() - 1) {
        action.chop(1); // no identifier, or no action
    }
    return "action k " + action.remove(QChar::ByteOrderMark);
}

void fuzzAction(Input &input)
{
    World &world = ::world("");
    const QString unknown = QString::fromStdString(input.text());
    lumd::Record notification = record(input, lumd::notificationRecord);
    lumd::setString(notification.get(), 0x01, "k");
    lumd::setBool(notification.get(), 0x154, true); // stays when an action is invoked
    world.host->add(notification.get());
    notification.reset();
    const DesktopNotification shown = world.only();
    QStringList expected = {report(unknown)};
    world.onServer([&](Server &server) {
        Q_EMIT server.ActionInvoked(shown.id, unknown);
        for (int i = 0; i < shown.actions.size(); i += 2) {
            server.Invoke(shown.id, shown.actions.at(i));
            expected.append(report(shown.actions.at(i)));
        }
    });
    world.settle();
    require(world.told.replaceInStrings(QString(QChar::ByteOrderMark), QString()) == expected,
            "the host is told of other actions");
    tidy(world);
}

void fuzzConfig(Input &input)
{
    const std::string key = input.text();
    std::string error;
    const lumd::Config config = lumd::parseConfig(input.rest, "name", &error);
    require((config != nullptr) == error.empty(), "an error without a message, or a message without an error");
    const auto ask = [&](auto question) { return question(config.get(), "Notifications", key.c_str()); };
    const std::unique_ptr<char, decltype(&std::free)> value(ask(lu_config_parser_value_str_dup), &std::free);
    const bool known = ask(lu_config_parser_contains) != 0;
    require((value != nullptr) == known, "a key without a value, or a value without a key");
    require(known || !ask(lu_config_parser_value_bool), "a true value without a key");
}

void fuzzScript(Input &input)
{
    for (const QByteArray &line : QByteArray::fromStdString(input.rest).split('\n')) {
        Event event;
        QString error;
        const bool valid = readEvent(line, QDir(QStringLiteral("/nonexistent")), &event, &error);
        require(valid == error.isEmpty(), "an error without a message, or a message without an error");
        require(event.verb.isEmpty() || (event.record != nullptr) == valid, "an event without a record");
    }
    requireNoRecords();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::map<QByteArray, void (*)(Input &)> targets = {
        {"record", fuzzRecord}, {"action", fuzzAction}, {"config", fuzzConfig}, {"script", fuzzScript}};
    Input input{{reinterpret_cast<const char *>(data), size}};
    targets.at(qgetenv("FUZZ_TARGET"))(input);
    return 0;
}
