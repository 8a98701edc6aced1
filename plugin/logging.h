// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QLoggingCategory>

/// The category of every line that the plug-in logs: "com.velmo.lumd.plugin.notifications". It logs warnings and
/// worse unless the process's logging rules enable more. Any thread may use it.
Q_DECLARE_LOGGING_CATEGORY(plugin)
