#!/bin/sh
# SPDX-License-Identifier: MIT
# An alert command: one line for each notification that deserves attention. Quote the variables, they hold what
# strangers wrote.
# SPDX-License-Identifier: MIT
printf '%s  %s: %s\n' "$(date +%H:%M:%S)" "$APP_NAME" "$TITLE" >>"${ALERT_LOG:-$HOME/alerts.log}"
