// SPDX-License-Identifier: MIT
#include "standins/notifications/include/notification.h"
#include "standins/notifications/include/notificationconnectionmanager.h"
#include "standins/notifications/notification_p.h"
#include "standins/notifications/publisher.h"
#include "standins/protocol/remoteaction.h"

Notification::Notification(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<NotificationPrivate>())
{
}

Notification::~Notification() { Publisher::forget(this); }

QString Notification::appName() const { return d->appName; }
void Notification::setAppName(const QString &name) { d->appName = name; }
void Notification::setAppIcon(const QString &icon) { d->appIcon = icon; }
void Notification::setIcon(const QString &icon) { d->icon = icon; }
QString Notification::summary() const { return d->summary; }
void Notification::setSummary(const QString &summary) { d->summary = summary; }
QString Notification::body() const { return d->body; }
void Notification::setBody(const QString &body) { d->body = body; }
QString Notification::subText() const { return d->subText; }
void Notification::setSubText(const QString &subText) { d->subText = subText; }
void Notification::setPreviewSummary(const QString &summary) { d->previewSummary = summary; }
void Notification::setPreviewBody(const QString &body) { d->previewBody = body; }
void Notification::setCategory(const QString &category) { d->category = category; }
Notification::Urgency Notification::urgency() const { return static_cast<Urgency>(d->urgency); }
void Notification::setUrgency(Urgency urgency) { d->urgency = urgency; }
int Notification::itemCount() const { return d->itemCount; }
void Notification::setItemCount(int count) { d->itemCount = count; }
void Notification::setTimestamp(const QDateTime &timestamp) { d->timestamp = timestamp; }
void Notification::setProgress(const QVariant &progress) { d->progress = progress; }
void Notification::setResident(bool resident) { d->resident = resident; }
void Notification::setIsTransient(bool transient) { d->transient = transient; }
QVariant Notification::hintValue(const QString &hint) const { return d->hints.value(hint); }
void Notification::setHintValue(const QString &hint, const QVariant &value) { d->hints.insert(hint, value); }
QVariantList Notification::remoteActions() const { return d->remoteActions; }
void Notification::setRemoteActions(const QVariantList &actions) { d->remoteActions = actions; }
uint Notification::replacesId() const { return d->publication ? d->publication->id() : d->id; }

void Notification::setReplacesId(uint id)
{
    Publisher::forget(this);
    d->publication.reset();
    d->id = id;
}

void Notification::publish()
{
    if (Publisher *const publisher = Publisher::instance()) {
        publisher->publish(this);
    }
}

void Notification::close()
{
    if (Publisher *const publisher = Publisher::instance()) {
        publisher->close(this);
    }
}

QList<QObject *> Notification::notifications()
{
    Publisher *const publisher = Publisher::instance();
    return publisher ? publisher->list() : QList<QObject *>();
}

bool NotificationConnectionManager::useDBusConnection(const QDBusConnection &connection)
{
    Publisher *const publisher = Publisher::instance();
    return publisher && publisher->use(connection);
}

QVariant Notification::remoteAction(const QString &name, const QString &displayName, const QString &service,
                                    const QString &objectPath, const QString &interface, const QString &method,
                                    const QVariantList &arguments)
{
    static const bool comparable = QMetaType::registerEqualsComparator<RemoteAction>();
    Q_UNUSED(comparable)
    RemoteAction action;
    action.name = name;
    action.displayName = displayName;
    action.service = service;
    action.path = objectPath;
    action.interface = interface;
    action.method = method;
    action.arguments = arguments;
    return QVariant::fromValue(action);
}

QVariant Notification::actionSetInputFormat(const QVariant &action, const QString &label, bool freeInput,
                                            const QStringList &choices)
{
    auto changed = action.value<RemoteAction>();
    changed.takesText = true;
    changed.inputLabel = label;
    changed.freeInput = freeInput;
    changed.choices = choices;
    return QVariant::fromValue(changed);
}
