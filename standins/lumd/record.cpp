// SPDX-License-Identifier: MIT
#include "plugin/fields.h"
#include "standins/lumd/host.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>

struct lu_list {
    std::vector<lumd::Record> records;
    std::vector<std::string> strings;
    std::vector<void *> elements; ///< the one or the other
    size_t cursor = 0;

    void *current() const { return cursor < elements.size() ? elements[cursor] : nullptr; }
};

using List = std::unique_ptr<lu_list>;
using Bytes = std::vector<uint8_t>;

struct lu_field {
    const uint32_t type;
    std::unordered_map<uint32_t, std::variant<std::string, int64_t, bool, Bytes, List>> fields;
};

namespace
{

/// All functions look a record up here first, so that none follows a stale pointer.
std::unordered_set<const lu_field *> live;
std::vector<std::string> findings;

template <typename Value> constexpr field::TypeCode typeCodeOf = {};
template <> constexpr field::TypeCode typeCodeOf<std::string> = field::String;
template <> constexpr field::TypeCode typeCodeOf<int64_t> = field::Integer;
template <> constexpr field::TypeCode typeCodeOf<bool> = field::Boolean;
template <> constexpr field::TypeCode typeCodeOf<Bytes> = field::Bytes;
template <> constexpr field::TypeCode typeCodeOf<List> = field::List;

bool isAlive(const lu_field *record, const char *function)
{
    const bool alive = live.count(record) != 0;
    if (record && !alive) {
        findings.push_back(std::string(function) + ": the record was already released");
    }
    return alive;
}

template <typename Value> bool fits(const lu_field *record, uint32_t id, const char *function)
{
    const bool fitting = field::typeCode(id) == typeCodeOf<Value>;
    if (record && !fitting) {
        findings.push_back(std::string(function) + ": identifier " + std::to_string(id) + " has the wrong type code");
    }
    return fitting && isAlive(record, function);
}

/// Null when the field is absent, or the call is a misuse.
template <typename Value> const Value *get(const lu_field *record, uint32_t id, const char *function)
{
    if (!fits<Value>(record, id, function)) {
        return nullptr;
    }
    const auto field = record->fields.find(id);
    return field == record->fields.end() ? nullptr : std::get_if<Value>(&field->second);
}

template <typename Value> void set(lu_field *record, uint32_t id, Value value, const char *function)
{
    if (fits<Value>(record, id, function)) {
        record->fields.insert_or_assign(id, std::move(value));
    }
}

} // namespace

namespace lumd
{

Record newRecord(uint32_t recordType) { return Record(lu_field_new(recordType)); }

void setString(lu_field *record, uint32_t id, std::string_view value) { set(record, id, std::string(value), __func__); }

void setInt(lu_field *record, uint32_t id, int64_t value) { set(record, id, value, __func__); }

void setBool(lu_field *record, uint32_t id, bool value) { set(record, id, value, __func__); }

void setBytes(lu_field *record, uint32_t id, const void *data, size_t size)
{
    const auto *const bytes = static_cast<const uint8_t *>(data);
    set(record, id, Bytes(bytes, bytes + size), __func__);
}

void setRecords(lu_field *record, uint32_t id, std::vector<Record> records)
{
    auto list = std::make_unique<lu_list>();
    for (const Record &element : list->records = std::move(records)) {
        list->elements.push_back(element.get());
    }
    set(record, id, std::move(list), __func__);
}

void setStrings(lu_field *record, uint32_t id, std::vector<std::string> strings)
{
    auto list = std::make_unique<lu_list>();
    for (std::string &element : list->strings = std::move(strings)) {
        list->elements.push_back(element.data());
    }
    set(record, id, std::move(list), __func__);
}

uint32_t recordType(const lu_field *record) { return record->type; }

std::vector<std::string> takeFindings() { return std::exchange(findings, {}); }

size_t liveRecords() { return live.size(); }

} // namespace lumd

lu_field *lu_field_new(uint32_t record_type)
{
    auto *const record = new lu_field{record_type, {}};
    live.insert(record);
    return record;
}

void lu_field_unref(lu_field *record)
{
    if (isAlive(record, __func__)) {
        live.erase(record);
        delete record;
    }
}

void lu_field_set_str(lu_field *record, uint32_t id, const char *value)
{
    set(record, id, std::string(value ? value : ""), __func__);
}

const char *lu_field_get_str(lu_field *record, uint32_t id)
{
    const auto *const value = get<std::string>(record, id, __func__);
    return value ? value->c_str() : nullptr;
}

int64_t lu_field_get_int(lu_field *record, uint32_t id)
{
    const auto *const value = get<int64_t>(record, id, __func__);
    return value ? *value : 0;
}

int lu_field_get_bool(lu_field *record, uint32_t id)
{
    const auto *const value = get<bool>(record, id, __func__);
    return value && *value ? 1 : 0;
}

const uint8_t *lu_field_get_byte_array(lu_field *record, uint32_t id, uint32_t *length)
{
    const auto *const value = get<Bytes>(record, id, __func__);
    if (length) {
        *length = value ? static_cast<uint32_t>(value->size()) : 0;
    }
    return value ? value->data() : nullptr;
}

int lu_field_is_set(lu_field *record, uint32_t id)
{
    return isAlive(record, __func__) && record->fields.count(id) != 0 ? 1 : 0;
}

lu_list *lu_field_get_list(lu_field *record, uint32_t id)
{
    const auto *const value = get<List>(record, id, __func__);
    return value ? value->get() : nullptr;
}

uint32_t lu_list_size(lu_list *list) { return static_cast<uint32_t>(list->elements.size()); }

void *lu_list_foreach_start(lu_list *list)
{
    list->cursor = 0;
    return list->current();
}

void *lu_list_foreach_next(lu_list *list)
{
    ++list->cursor;
    return list->current();
}

int lu_list_foreach_end(lu_list *list) { return list->cursor >= list->elements.size() ? 1 : 0; }
