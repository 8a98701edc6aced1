// SPDX-License-Identifier: MIT
#pragma once

/// The platform's notifications client library, as the plug-in uses it: `Notification` and
/// `NotificationConnectionManager`. Nothing else in the plug-in includes its headers.
#include <notification.h>
#include <notificationconnectionmanager.h>
