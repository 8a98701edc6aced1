// SPDX-License-Identifier: MIT
#include "translation/actions.h"

#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/fieldvalues.h"

#include <QtCore/QStringList>

namespace
{

namespace id = field::action;

QString actionName(lu_field *action, const QString &title)
{
    if (title == QLatin1String("default")) {
        return title;
    }
    return title + QLatin1Char('|') + field::text(action, id::identifier);
}

QVariant remoteAction(lu_field *action, const QString &key, const QString &title, bool input)
{
    const QString method =
        input ? QStringLiteral("notificationActionInvokeInput") : QStringLiteral("notificationActionInvoke");
    return Notification::remoteAction(actionName(action, title), title, QStringLiteral("com.velmo.lumd"),
                                      QStringLiteral("/com/velmo/lumd"), QStringLiteral("com.velmo.lumd"), method,
                                      {key, title});
}

QStringList strings(lu_list *list)
{
    QStringList texts;
    if (!list) {
        return texts;
    }
    for (void *text = lu_list_foreach_start(list); !lu_list_foreach_end(list); text = lu_list_foreach_next(list)) {
        texts.append(QString::fromUtf8(static_cast<const char *>(text)));
    }
    return texts;
}

/// Appends the description of one of the record's actions.
void appendAction(QVariantList &actions, lu_field *action, const QString &key, bool actionInput)
{
    const QString title = field::text(action, id::title);
    const bool freeInput = field::flag(action, id::freeInput);
    lu_list *const choices = lu_field_get_list(action, id::choices);
    const bool input = freeInput || (choices && lu_list_size(choices) != 0);
    const QVariant description = remoteAction(action, key, title, input);
    if (!input) {
        actions.append(description);
    } else if (actionInput) {
        const QStringList answers = strings(choices);
        actions.append(
            Notification::actionSetInputFormat(description, field::text(action, id::inputLabel), freeInput, answers));
    }
}

} // namespace

QVariantList remoteActions(lu_field *record, const QString &key, bool actionInput)
{
    QVariantList actions;
    lu_list *const list = lu_field_get_list(record, field::notification::actions);
    if (!list) {
        return actions;
    }
    for (void *action = lu_list_foreach_start(list); !lu_list_foreach_end(list); action = lu_list_foreach_next(list)) {
        appendAction(actions, static_cast<lu_field *>(action), key, actionInput);
    }
    return actions;
}
