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

/// The operations that are measured. Each one runs `count` times in a row, and restores the screen.
class Operations
{
public:
    /// `user` is the file from which our server reads the user's commands.
    Operations(std::unique_ptr<Client> client, const char *user);

    /// Runs one, and prints its cost.
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
