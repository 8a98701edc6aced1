// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"

#include <QtCore/QVariant>

#include <string>
#include <utility>
#include <vector>

/// The fields of a host's record: identifiers, and values that fit their type codes. A field of
/// bytes takes a text or a byte array; a list takes a result of `list`.
using Fields = std::vector<std::pair<uint32_t, QVariant>>;
using Choices = std::vector<std::string>;
Q_DECLARE_METATYPE(Choices)
Q_DECLARE_METATYPE(std::vector<Fields>)

/// Of action elements.
inline QVariant list(const std::vector<Fields> &actions) { return QVariant::fromValue(actions); }
inline QVariant list(const Choices &choices) { return QVariant::fromValue(choices); }

/// The record that a host would hand over.
lumd::Record record(uint32_t type, const Fields &fields);
