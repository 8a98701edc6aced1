#!/bin/sh
# SPDX-License-Identifier: MIT
# An alert command: adds a line to the file $ALERT_LOG, if there is one, for each notification that deserves attention.
# Quote the variables: strangers wrote their texts.
[ -n "$ALERT_LOG" ] || exit 0
printf '%s  %s: %s\n' "$(date +%H:%M:%S)" "$APP_NAME" "$TITLE" >>"$ALERT_LOG"
