// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/publication.h"

#include <cstring>
#include <deque>
#include <map>
#include <optional>

/// A host, a server and its user play with one publication; each letter is a move.
struct Game {
    /// False if the move is impossible.
    bool play(char move)
    {
        if ((move == 'u' && screen.empty()) || (move == 'c' && news.empty()) ||
            (std::strchr("sr", move) && calls.empty()) || (std::strchr("pxd", move) && !host)) {
            return false;
        }
        const bool listed = one->state() != Publication::State::Gone && !one->isOver();
        if (move == 'p') { // the host publishes
            if (!listed) {
                one.emplace(QVariant(), 0);
            }
            NotificationContent content;
            content.itemCount = ++version;
            wanted = true;
            told = dismissed = refused = 0;
            confirmed = false;
            obey(one->belongsTo(host)), obey(one->publish(content));
        } else if (move == 'x') { // the host closes
            wanted = false;
            obey(one->close());
        } else if (move == 'd') { // the host's object goes
            host = nullptr;
            obey(one->belongsTo(host));
        } else if (move == 'u') { // the user dismisses
            ++dismissed;
            news.emplace_back(screen.begin()->first, 0);
            screen.clear();
        } else if (move == 'c') { // the client comes to the server's next message
            const auto [closed, given] = news.front();
            news.pop_front();
            if (closed == 0) {
                obey(given != 0 ? one->identified(given) : one->refused());
                confirmed = given != 0 && !one->isUnanswered();
            } else if (listed && closed == one->id()) {
                obey(one->closed(2));
            }
        } else if (move == 'l') { // another server comes, which needs the object of a confirmed version
            lost += !host && confirmed;
            calls.clear(), news.clear(), screen.clear();
            obey(one->serverLost()), obey(one->serverFound());
        } else { // the server handles a call, or refuses it
            const auto [id, shows] = calls.front();
            calls.pop_front();
            if (shows == 0 && screen.erase(id) > 0) {
                news.emplace_back(id, 0);
            } else if (shows != 0 && move == 'r') {
                ++refused;
                news.emplace_back(0, 0);
            } else if (shows != 0) {
                const uint given = id != 0 && (keepsIds || screen.count(id) > 0) ? id : ++lastId;
                screen[given] = shows;
                news.emplace_back(0, given);
            }
        }
        return true;
    }
    void obey(Publication::Order order)
    {
        using Order = Publication::Order;
        if (order == Order::Send) {
            calls.emplace_back(one->id(), one->content().itemCount);
            one->sent({});
        } else if (order == Order::Close || order == Order::CloseAndTell) {
            calls.emplace_back(one->id(), 0);
        }
        told += order == Order::Tell || order == Order::CloseAndTell;
        refused += order == Order::Warn;
    }
    /// In the end the last version is on the screen once, or else the host was told once of its dismissal.
    bool isFair()
    {
        while (play('s') || play('c')) {
        }
        const bool shown = screen.size() == 1 && screen.begin()->second == version;
        const bool gone = screen.empty() && dismissed + lost > 0;
        return !wanted       ? screen.empty() && told <= 1
               : refused > 0 ? screen.size() <= 1 && told <= 1
               : !host       ? shown || gone
                             : (shown && told == 0) || (gone && told == 1);
    }

    bool keepsIds;
    Notification *host;
    std::optional<Publication> one{std::in_place, QVariant(), 0U};
    std::map<uint, int> screen{};             ///< versions by identifier
    std::deque<std::pair<uint, int>> calls{}; ///< an identifier, and the version to show or 0 to close
    std::deque<std::pair<uint, uint>> news{}; ///< an identifier that is closed, or 0 and the one given, 0 if refused
    uint lastId = 0;
    int version = 0, told = 0, dismissed = 0, refused = 0, lost = 0; ///< how often, since the last version
    bool wanted = false, confirmed = false;
};

/// Whether every sequence of so many moves more is fair; complains about the first that is not.
inline bool areFair(const Game &game, const std::string &moves, size_t length)
{
    for (const char move : std::string("pxduscrl")) {
        Game next = game;
        if (next.play(move) && (moves.size() + 1 < length ? !areFair(next, moves + move, length) : !next.isFair())) {
            qWarning("%s%c", moves.c_str(), move);
            return false;
        }
    }
    return true;
}
