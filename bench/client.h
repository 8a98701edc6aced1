// SPDX-License-Identifier: MIT
#pragma once

#include "bench/content.h"
#include "standins/protocol/desktopnotification.h"
#include "tools/harness/loadedplugin.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QVector>
#include <QtDBus/QDBusMessage>

/// One way to show notifications.
class Client : public QObject
{
    Q_OBJECT

public:
    virtual void load() = 0;
    virtual void unload() = 0;
    /// Prepares the items, so that only showing them is measured.
    virtual void prepare(const QVector<Item> &items) = 0;
    /// Shows the item at `index`.
    virtual void show(int index) = 0;
    virtual void remove(int index) = 0;
    /// The time after which it carries out a removal.
    virtual ulong removalDelayMs() const { return 0; }
    virtual void clear() = 0;
    virtual QDBusConnection connection() const = 0;

    /// The number of signals and calls that the server has sent it so far.
    int events() const { return m_events; }

protected:
    int m_events = 0;
};

/// The host with the plug-in.
class PluginClient : public Client
{
    Q_OBJECT

public:
    PluginClient();

    void load() override { m_plugin.load(&m_host); }
    void unload() override;
    void prepare(const QVector<Item> &items) override;
    void show(int index) override { m_host.add(m_records[static_cast<size_t>(index)].get()); }
    void remove(int index) override { m_host.remove(m_keys[static_cast<size_t>(index)].c_str()); }
    ulong removalDelayMs() const override { return 550; }
    void clear() override { m_host.clear(); }
    QDBusConnection connection() const override { return LoadedPlugin::connection(); }

private:
    lumd::Host m_host{nullptr};
    LoadedPlugin m_plugin{QStringLiteral(KAVREL_PLUGIN)};
    std::vector<lumd::Record> m_records;
    std::vector<std::string> m_keys;
};

/// D-Bus calls and nothing else.
class BareClient : public Client
{
    Q_OBJECT

public:
    /// Sends the same as the plug-in: `content`, which kavrel-bench-server has printed.
    explicit BareClient(const QByteArray &content);

    void load() override;
    void unload() override;
    void prepare(const QVector<Item> &items) override { m_items = items; }
    void show(int index) override;
    void remove(int index) override;
    void clear() override;
    QDBusConnection connection() const override;

private Q_SLOTS:
    void onSignal() { ++m_events; }

private:
    DesktopNotification m_content;
    QVariantList m_actions; ///< of the content
    QVector<Item> m_items;
    QHash<int, uint> m_ids; ///< by the items' numbers
};

/// A call to the server at the other end of `connection`, a bus or a peer.
QDBusMessage request(const QDBusConnection &connection, const QString &interface, const char *method,
                     const QVariantList &arguments = {});
