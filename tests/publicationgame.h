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
        if ((std::strchr("ui", move) && screen.empty()) || (move == 'c' && news.empty()) ||
            (std::strchr("sr", move) && calls.empty()) || (std::strchr("pxd", move) && !host)) {
            return false;
        }
        const bool listed = one->state() != Publication::State::Gone && !one->isOver();
        if (move == 'p') { // the host publishes
            if (!listed) {
                one.emplace(QVariant(), 0);
                losses = 0;
            }
            NotificationContent content;
            content.itemCount = ++version;
            wanted = true;
            told = dismissed = refused = taken = 0;
            confirmed = givenUp = false;
            obey(one->publish(host, content));
        } else if (move == 'x') { // the host closes
            wanted = false;
            obey(one->close());
        } else if (move == 'd') { // the host's object goes
            host = nullptr;
            obey(one->orphaned());
        } else if (move == 'u') { // the user dismisses
            ++dismissed;
            news.emplace_back(screen.begin()->first, 0);
            screen.clear();
        } else if (move == 'i') { // the server gives the identifier to another notification
            ++taken;
            news.emplace_back(screen.begin()->first, 1);
            screen.clear();
        } else if (move == 'c') { // the client comes to the server's next message
            const auto [closed, given] = news.front();
            news.pop_front();
            if (closed == 0) {
                --flying;
                losses = given != 0 ? 0 : losses;
                obey(given != 0 ? one->identified(given) : one->refused());
                confirmed = given != 0 && !one->isUnanswered();
            } else if (listed && closed == one->id()) {
                obey(given != 0 ? one->identifierLost() : one->closed(2));
            }
        } else if (move == 'l') { // another server comes, which needs the object of a confirmed version
            lost += !host && confirmed;
            dismissed = told == 0 ? 0 : dismissed; // the client may not have heard of it
            losses += std::exchange(flying, 0) > 0 && wanted;
            calls.clear(), news.clear(), screen.clear();
            warned = false;
            obey(one->serverLost());
            isRight = isRight && warned == (losses == 3);
            givenUp = givenUp || losses == 3;
            losses %= 3;
            obey(one->serverFound());
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
            ++flying;
            calls.emplace_back(one->id(), one->content().itemCount);
            one->sent({});
        } else if (order == Order::Close || order == Order::CloseAndTell) {
            calls.emplace_back(one->id(), 0);
        }
        told += order == Order::Tell || order == Order::CloseAndTell;
        warned = order == Order::Warn;
    }
    /// In the end the last version is on the screen once, or else the host was told once of its dismissal. It is told,
    /// too, that its own close is done, and that nothing is left when the version after the dismissed one is refused.
    bool isFair()
    {
        while (play('s') || play('c')) {
        }
        const bool shown = screen.size() == 1 && screen.begin()->second == version;
        const bool gone = screen.empty() && dismissed + lost > 0;
        const size_t known = screen.size() + told;
        if (!isRight || !wanted) {
            return isRight && screen.empty() && (host ? told == 1 : told <= 1);
        }
        if (givenUp) {
            return known == 0;
        }
        if (refused > 0 || taken > 0) {
            return known <= 1 && (taken > 0 || known == 1 || dismissed == 0 || refused > 1 || !host);
        }
        return host ? (shown && told == 0) || (gone && told == 1) : shown || gone;
    }

    bool keepsIds;
    Notification *host;
    std::optional<Publication> one{std::in_place, QVariant(), 0U};
    std::map<uint, int> screen{};             ///< versions by identifier
    std::deque<std::pair<uint, int>> calls{}; ///< an identifier, and the version to show or 0 to close
    std::deque<std::pair<uint, uint>>
        news{}; ///< 0 and the identifier given, 0 if refused; else one that is closed, or with 1 taken
    uint lastId = 0;
    int version = 0, told = 0, dismissed = 0, refused = 0, taken = 0, lost = 0; ///< how often, since the last version
    int flying = 0, losses = 0; ///< calls under way; servers lost meanwhile, since the last confirmation
    bool wanted = false, confirmed = false, warned = false, givenUp = false, isRight = true;
};

/// Whether every sequence of so many moves more is fair; complains about the first that is not.
inline bool areFair(const Game &game, const std::string &moves, size_t length)
{
    for (const char move : std::string("pxduiscrl")) {
        Game next = game;
        if (next.play(move) && (moves.size() + 1 < length ? !areFair(next, moves + move, length) : !next.isFair())) {
            qWarning("%s%c", moves.c_str(), move);
            return false;
        }
    }
    return true;
}
