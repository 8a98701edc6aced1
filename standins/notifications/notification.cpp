// SPDX-License-Identifier: MIT
#include "standins/notifications/include/notification.h"
#include "standins/notifications/notification_p.h"
#include "standins/notifications/publications.h"

Notification::Notification(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<NotificationPrivate>())
{
}

Notification::~Notification()
{
    if (Publications *const publications = Publications::existing()) {
        publications->forget(this);
    }
}

QString Notification::appName() const { return d->appName; }
void Notification::setAppName(const QString &name) { d->appName = name; }
QString Notification::appIcon() const { return d->appIcon; }
void Notification::setAppIcon(const QString &icon) { d->appIcon = icon; }
QString Notification::icon() const { return d->icon; }
void Notification::setIcon(const QString &icon) { d->icon = icon; }
QString Notification::summary() const { return d->summary; }
void Notification::setSummary(const QString &summary) { d->summary = summary; }
QString Notification::body() const { return d->body; }
void Notification::setBody(const QString &body) { d->body = body; }
QString Notification::subText() const { return d->subText; }
void Notification::setSubText(const QString &subText) { d->subText = subText; }
QString Notification::previewSummary() const { return d->previewSummary; }
void Notification::setPreviewSummary(const QString &summary) { d->previewSummary = summary; }
QString Notification::previewBody() const { return d->previewBody; }
void Notification::setPreviewBody(const QString &body) { d->previewBody = body; }
QString Notification::category() const { return d->category; }
void Notification::setCategory(const QString &category) { d->category = category; }
Notification::Urgency Notification::urgency() const { return static_cast<Urgency>(d->urgency); }
void Notification::setUrgency(Urgency urgency) { d->urgency = urgency; }
int Notification::itemCount() const { return d->itemCount; }
void Notification::setItemCount(int count) { d->itemCount = count; }
QDateTime Notification::timestamp() const { return d->timestamp; }
void Notification::setTimestamp(const QDateTime &timestamp) { d->timestamp = timestamp; }
QVariant Notification::progress() const { return d->progress; }
void Notification::setProgress(const QVariant &progress) { d->progress = progress; }
bool Notification::isResident() const { return d->resident; }
void Notification::setResident(bool resident) { d->resident = resident; }
bool Notification::isTransient() const { return d->transient; }
void Notification::setIsTransient(bool transient) { d->transient = transient; }
QVariant Notification::hintValue(const QString &hint) const { return d->hints.value(hint); }
QVariantList Notification::remoteActions() const { return d->remoteActions; }
void Notification::setRemoteActions(const QVariantList &actions) { d->remoteActions = actions; }
uint Notification::replacesId() const { return d->publication ? d->publication->id() : d->id; }

void Notification::setHintValue(const QString &hint, const QVariant &value)
{
    if (value.isValid()) {
        d->hints.insert(hint, value);
    } else {
        d->hints.remove(hint);
    }
}

void Notification::setReplacesId(uint id)
{
    if (Publications *const publications = Publications::existing()) {
        publications->forget(this);
    }
    d->publication.reset();
    d->id = id;
}

void Notification::publish() { Publications::instance().publish(this); }

void Notification::close() { Publications::instance().close(this); }

QList<QObject *> Notification::notifications()
{
    QList<QObject *> objects;
    const QList<Notification *> held = Publications::instance().held();
    for (Notification *const notification : held) {
        objects.append(notification);
    }
    return objects;
}

QVariant Notification::remoteAction(const QString &name, const QString &displayName, const QString &service,
                                    const QString &objectPath, const QString &interface, const QString &method,
                                    const QVariantList &arguments)
{
    return QVariantMap{
        {QStringLiteral("name"), name},           {QStringLiteral("displayName"), displayName},
        {QStringLiteral("service"), service},     {QStringLiteral("path"), objectPath},
        {QStringLiteral("interface"), interface}, {QStringLiteral("method"), method},
        {QStringLiteral("arguments"), arguments},
    };
}

QVariant Notification::actionSetInputFormat(const QVariant &action, const QString &label, bool freeInput,
                                            const QStringList &choices)
{
    QVariantMap changed = action.toMap();
    changed.insert(QStringLiteral("input"), QVariantMap{
                                                {QStringLiteral("label"), label},
                                                {QStringLiteral("freeInput"), freeInput},
                                                {QStringLiteral("choices"), choices},
                                            });
    return changed;
}
