// SPDX-License-Identifier: MIT
#pragma once

#include "bench/client.h"
#include "bench/gauge.h"

#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>

/// What is measured of a client. Each operation is done `count` times in a row and leaves what is shown as it was.
class Operations
{
public:
    /// `user` is the file where our server reads what the user does.
    Operations(std::unique_ptr<Client> client, const char *user);

    /// Does one, and prints what it took.
    void run(const std::string &name, int count);

private:
    enum class Which { Oldest, Newest };

    void fill(int count);
    void clear(int count);
    void load(int count);
    void publish(int count, bool icons);
    void update(int count);
    void repeat(int count);
    void dismiss(int count, Which which);
    void invoke(int count, Which which);
    void remove(int count);

    template <typename Work> void measure(Work work);
    void prepare(const QVector<Item> &items);
    void prepareFresh(int count, bool icons = false);
    void show() const;
    void addLive(int count);
    uint nextId() const;
    void closeAll(uint first, int count) const;
    void causeEvent(const std::string &command);

    std::unique_ptr<Client> m_client;
    std::ofstream m_user;
    std::map<std::string, std::function<void(int count)>> m_operations;
    gauge m_gauge = {};
    int m_prepared = 0;
    int m_lastNumber = 0;
    std::deque<uint> m_live; ///< identifiers of those that stay, the oldest first
};
