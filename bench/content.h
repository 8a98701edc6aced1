// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"

#include <QtCore/QByteArray>

/// An e-mail with four texts and two actions.
struct Item {
    int number;         ///< one for each notification
    int version = 0;    ///< two that follow each other differ in one letter of the text
    bool icons = false; ///< two, of 10 KiB each
};

QByteArray text(int version);
/// The bytes of an icon.
QByteArray icon();
/// The host's record of it.
lumd::Record record(const Item &item);
