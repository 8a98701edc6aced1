// SPDX-License-Identifier: MIT
#include "translation/actions.h"

#include "plugin/clientlibrary.h"
#include "plugin/fields.h"
#include "plugin/record.h"

#include <QtCore/QStringList>

namespace
{

namespace id = field::action;

/// Calls `visit` with each element. A list that the record lacks has none.
template <typename Visit> void forEachElement(lu_list *list, Visit visit)
{
    if (!list) {
        return;
    }
    for (void *element = lu_list_foreach_start(list); !lu_list_foreach_end(list);
         element = lu_list_foreach_next(list)) {
        visit(element);
    }
}

QString actionName(lu_field *element, const QString &title)
{
    if (title == QLatin1String("default")) {
        return title;
    }
    return title + QLatin1Char('|') + field::text(element, id::identifier);
}

QVariant remoteAction(lu_field *element, const QString &key, const QString &title, bool input)
{
    const QString method =
        input ? QStringLiteral("notificationActionInvokeInput") : QStringLiteral("notificationActionInvoke");
    return Notification::remoteAction(actionName(element, title), title, QStringLiteral("com.velmo.lumd"),
                                      QStringLiteral("/com/velmo/lumd"), QStringLiteral("com.velmo.lumd"), method,
                                      {key, title});
}

} // namespace

QVariantList remoteActions(lu_field *record, const QString &key, bool actionInput)
{
    QVariantList actions;
    forEachElement(lu_field_get_list(record, field::notification::actions), [&](void *element) {
        auto *const action = static_cast<lu_field *>(element);
        const QString title = field::text(action, id::title);
        const bool freeInput = lu_field_get_bool(action, id::freeInput) != 0;
        lu_list *const choiceList = lu_field_get_list(action, id::choices);
        const bool input = freeInput || (choiceList && lu_list_size(choiceList) != 0);
        const QVariant description = remoteAction(action, key, title, input);
        if (!input) {
            actions.append(description);
            return;
        }
        if (!actionInput) {
            return;
        }
        QStringList choices;
        forEachElement(choiceList, [&choices](void *choice) {
            choices.append(QString::fromUtf8(static_cast<const char *>(choice)));
        });
        actions.append(
            Notification::actionSetInputFormat(description, field::text(action, id::inputLabel), freeInput, choices));
    });
    return actions;
}
