// SPDX-License-Identifier: MIT
#include "bench/client.h"

PluginClient::PluginClient()
{
    if (!m_plugin.definition()) {
        qFatal("%s", qPrintable(m_plugin.errorString()));
    }
    m_host.onRemoved = [this](const std::string &) { ++m_events; };
    m_host.onAction = [this](const std::string &, lu_field *) { ++m_events; };
}

void PluginClient::unload()
{
    m_plugin.unload();
    QDBusConnection::disconnectFromPeer(QStringLiteral("peerconnection"));
}

void PluginClient::prepare(const QVector<Item> &items)
{
    m_records.clear();
    m_keys.clear();
    for (const Item &item : items) {
        m_records.push_back(record(item));
        m_keys.emplace_back(lu_field_get_str(m_records.back().get(), field::notification::key));
    }
}
