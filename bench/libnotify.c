/* SPDX-License-Identifier: MIT */
/* Shows the other sides' notification through libnotify, COUNT times for each line "new COUNT" of its input, and prints
   the cost of one. */
#include "bench/gauge.h"

#include <libnotify/notify.h>

#include <stdlib.h>

static void ignore(NotifyNotification *notification, char *action, gpointer data)
{
    (void)notification;
    (void)action;
    (void)data;
}

static NotifyNotification *show(void)
{
    NotifyNotification *const n = notify_notification_new(
        "Mira Lund", "See you at the station at half past six, the train leaves from platform 0\nmira@example.com",
        NULL);
    notify_notification_set_category(n, "email.arrived");
    notify_notification_set_urgency(n, NOTIFY_URGENCY_NORMAL);
    notify_notification_set_timeout(n, NOTIFY_EXPIRES_NEVER);
    notify_notification_set_hint(n, "resident", g_variant_new_boolean(TRUE));
    notify_notification_add_action(n, "Archive|archive", "Archive", ignore, NULL, NULL);
    notify_notification_add_action(n, "default", "Open", ignore, NULL, NULL);
    if (!notify_notification_show(n, NULL)) {
        exit(1);
    }
    return n;
}

static void show_some(struct gauge *gauge, int count)
{
    NotifyNotification **const shown = g_new(NotifyNotification *, (gsize)count);
    gauge_start(gauge);
    for (int i = 0; i < count; ++i) {
        shown[i] = show();
    }
    gauge_stop(gauge);
    for (int i = 0; i < count; ++i) {
        notify_notification_close(shown[i], NULL);
    }
    while (g_main_context_iteration(NULL, FALSE)) {
    }
    for (int i = 0; i < count; ++i) {
        g_object_unref(shown[i]);
    }
    g_free(shown);
}

int main(void)
{
    if (!notify_init("Mail")) {
        return 1;
    }
    puts("ready");
    fflush(stdout);
    char line[64];
    while (fgets(line, sizeof line, stdin)) {
        int count = 0;
        if (sscanf(line, "new %d", &count) == 1) {
            struct gauge gauge = {0, 0};
            show_some(&gauge, count);
            gauge_report(&gauge, count);
        }
    }
    notify_uninit();
    return 0;
}
