// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QLoggingCategory>

/// The category of every line that the plug-in logs: "com.velmo.lumd.plugin.notifications", from warnings on
/// unless the process's logging rules say otherwise. May be used on any thread.
Q_DECLARE_LOGGING_CATEGORY(plugin)
