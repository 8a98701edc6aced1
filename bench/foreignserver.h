// SPDX-License-Identifier: MIT
#pragma once

#include <QtDBus/QDBusVirtualObject>

/// A notification server on the session bus that knows the protocol and nothing of ours. It does as little as it can,
/// since the benchmark measures its client.
class ForeignServer : public QDBusVirtualObject
{
public:
    /// False when there is another one.
    bool serve();
    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    /// A hash of everything that a user sees of the latest notification.
    uint looks() const { return m_looks; }

private:
    uint m_lastId = 0;
    uint m_looks = 0;
};
