// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/lumd.h"

#include <memory>
#include <string>
#include <vector>

/// The host's own side of `liblumd-config-parser.so.1`.
namespace lumd
{

struct ConfigDelete {
    LU_EXPORT void operator()(lu_config_parser *parser) const;
};
using Config = std::unique_ptr<lu_config_parser, ConfigDelete>;

/// Reads an INI file: "[Section]" and "key = value" lines; lines that start with ";" or "#" are comments.
/// Values are kept byte for byte, without the white space around them. Null, with a message in `error` that
/// names the file and the line, when the file cannot be read or a line is malformed.
LU_EXPORT Config loadConfig(const std::string &file, std::string *error);
/// The same from memory; `name` stands for the file in messages.
LU_EXPORT Config parseConfig(const std::string &text, const std::string &name, std::string *error);

/// One "key = value" line; `section` is empty for a key above all sections.
struct ConfigEntry {
    std::string section;
    std::string key;
    std::string value;
};
LU_EXPORT std::vector<ConfigEntry> configEntries(const lu_config_parser &parser);

} // namespace lumd
