// SPDX-License-Identifier: MIT
// Boost's parser, since libinih cuts values at " ;" and at 200 bytes, and a command line may have both.
#include "standins/config-parser/configparser.h"

#include <boost/property_tree/ini_parser.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <strings.h>

struct lu_config_parser {
    boost::property_tree::ptree sections;
};

namespace
{

boost::optional<std::string> find(const lu_config_parser *parser, const char *section, const char *key)
try {
    // Names may hold dots, a path's usual separator, but no line ends.
    return parser->sections.get_optional<std::string>({std::string(section) + '\n' + key, '\n'});
} catch (const std::exception &) {
    return boost::none;
}

lumd::Config fail(std::string *error, const std::string &message)
{
    if (error) {
        *error = message;
    }
    return nullptr;
}

lumd::Config read(std::istream &stream, const std::string &name, std::string *error)
try {
    lumd::Config config(new lu_config_parser);
    boost::property_tree::read_ini(stream, config->sections);
    return config;
} catch (const boost::property_tree::ini_parser_error &problem) {
    return fail(error, name + ':' + std::to_string(problem.line()) + ": " + problem.message());
} catch (const std::exception &problem) {
    return fail(error, name + ": " + problem.what());
}

} // namespace

void lumd::ConfigDelete::operator()(lu_config_parser *parser) const { delete parser; }

lumd::Config lumd::loadConfig(const std::string &file, std::string *error)
{
    std::ifstream stream(file, std::ios::binary);
    return stream ? read(stream, file, error) : fail(error, file + ": " + std::strerror(errno));
}

lumd::Config lumd::parseConfig(const std::string &text, const std::string &name, std::string *error)
{
    std::istringstream stream(text);
    return read(stream, name, error);
}

std::vector<lumd::ConfigEntry> lumd::configEntries(const lu_config_parser &parser)
{
    std::vector<ConfigEntry> entries;
    for (const auto &[name, section] : parser.sections) {
        if (section.empty()) { // sections without keys are left out
            entries.push_back({"", name, section.data()});
        }
        for (const auto &[key, value] : section) {
            entries.push_back({name, key, value.data()});
        }
    }
    return entries;
}

int lu_config_parser_contains(lu_config_parser *parser, const char *section, const char *key)
{
    return find(parser, section, key) ? 1 : 0;
}

int lu_config_parser_value_bool(lu_config_parser *parser, const char *section, const char *key)
{
    const std::string value = find(parser, section, key).value_or("");
    for (const char *const word : {"1", "true", "yes", "on"}) {
        if (strcasecmp(value.c_str(), word) == 0) {
            return 1;
        }
    }
    return 0;
}

char *lu_config_parser_value_str_dup(lu_config_parser *parser, const char *section, const char *key)
{
    const boost::optional<std::string> value = find(parser, section, key);
    return value ? strdup(value->c_str()) : nullptr;
}
