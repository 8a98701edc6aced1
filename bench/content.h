// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"

#include <notification.h>

#include <memory>
#include <string>

enum class Kind { Plain, Resident, WithIcons };

/// A notification of the host with texts, hints and two actions; its icons are of 10 KiB each.
lumd::Record notification(const std::string &key, Kind kind);
/// The same as `Plain`, filled by hand and published.
std::unique_ptr<Notification> published(const QString &key);
