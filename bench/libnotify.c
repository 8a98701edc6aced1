// SPDX-License-Identifier: MIT
/* Shows the same notification as the other sides, through libnotify: for each line "new COUNT" on the standard
   input, COUNT of them, and answers with the seconds that one took. */
#include <libnotify/notify.h>

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static void ignore(NotifyNotification *notification, char *action, gpointer data)
{
    (void)notification;
    (void)action;
    (void)data;
}

static void add(GVariantBuilder *map, const char *name, GVariant *value)
{
    g_variant_builder_add(map, "{sv}", name, value);
}

static GVariant *remote_action(const char *name, const char *title, const char *key)
{
    GVariantBuilder map;
    g_variant_builder_init(&map, G_VARIANT_TYPE_VARDICT);
    add(&map, "name", g_variant_new_string(name));
    add(&map, "displayName", g_variant_new_string(title));
    add(&map, "service", g_variant_new_string("com.velmo.lumd"));
    add(&map, "path", g_variant_new_string("/com/velmo/lumd"));
    add(&map, "interface", g_variant_new_string("com.velmo.lumd"));
    add(&map, "method", g_variant_new_string("notificationActionInvoke"));
    GVariant *const arguments[] = {g_variant_new_variant(g_variant_new_string(key)),
                                   g_variant_new_variant(g_variant_new_string(title))};
    add(&map, "arguments", g_variant_new_array(G_VARIANT_TYPE_VARIANT, arguments, 2));
    return g_variant_new_variant(g_variant_builder_end(&map));
}

static NotifyNotification *show(const char *key)
{
    NotifyNotification *const n = notify_notification_new(
        "Mira Lund", "See you at the station at half past six, the train leaves from platform two.", NULL);
    notify_notification_set_category(n, "email");
    notify_notification_set_urgency(n, NOTIFY_URGENCY_NORMAL);
    notify_notification_set_timeout(n, NOTIFY_EXPIRES_DEFAULT);
    notify_notification_set_hint(n, "x-vorn-owner", g_variant_new_string("kavrel-bench-side"));
    notify_notification_set_hint(n, "x-vorn-sub-text", g_variant_new_string("mira@example.com"));
    notify_notification_set_hint(n, "x-vorn-timestamp", g_variant_new_int64(1700000000000));
    notify_notification_set_hint(n, "x-vorn-origin-package", g_variant_new_string("com.example.mail"));
    notify_notification_set_hint(n, "x-vorn-origin-key", g_variant_new_string(key));
    notify_notification_set_hint(n, "x-vorn-feedback", g_variant_new_string("email,email_exists"));
    notify_notification_set_hint(n, "x-vorn-color", g_variant_new_string("#3366cc"));
    notify_notification_set_hint(n, "x-vorn-vibrate", g_variant_new_boolean(TRUE));
    notify_notification_set_hint(n, "x-vorn-display-on", g_variant_new_boolean(TRUE));
    notify_notification_set_hint(n, "x-vorn-priority", g_variant_new_int32(75));
    notify_notification_add_action(n, "default", "default", ignore, NULL, NULL);
    notify_notification_add_action(n, "Archive|archive", "Archive", ignore, NULL, NULL);
    GVariant *const actions[] = {remote_action("default", "default", key),
                                 remote_action("Archive|archive", "Archive", key)};
    notify_notification_set_hint(n, "x-vorn-remote-actions", g_variant_new_array(G_VARIANT_TYPE_VARIANT, actions, 2));
    if (!notify_notification_show(n, NULL)) {
        exit(1);
    }
    return n;
}

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + 1e-9 * (double)time.tv_nsec;
}

static double show_some(int count)
{
    NotifyNotification **const shown = g_new(NotifyNotification *, (gsize)count);
    const double start = now();
    for (int i = 0; i < count; ++i) {
        char key[64];
        g_snprintf(key, sizeof key, "0|com.example.mail|%d|null|10083", 1000001 + i);
        shown[i] = show(key);
    }
    const double seconds = (now() - start) / count;
    for (int i = 0; i < count; ++i) {
        notify_notification_close(shown[i], NULL);
    }
    while (g_main_context_iteration(NULL, FALSE)) {
    }
    for (int i = 0; i < count; ++i) {
        g_object_unref(shown[i]);
    }
    g_free(shown);
    return seconds;
}

int main(void)
{
    if (!notify_init("Mail")) {
        return 1;
    }
    show_some(1);
    puts("ready");
    fflush(stdout);
    char line[64];
    while (fgets(line, sizeof line, stdin)) {
        int count = 0;
        if (sscanf(line, "new %d", &count) == 1) {
            printf("%.9f\n", show_some(count));
            fflush(stdout);
        }
    }
    notify_uninit();
    return 0;
}
