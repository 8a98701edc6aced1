// SPDX-License-Identifier: MIT
#include "plugin/logging.h"

Q_LOGGING_CATEGORY(plugin, "com.velmo.lumd.plugin.notifications", QtWarningMsg)
