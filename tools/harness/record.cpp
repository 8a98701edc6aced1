// SPDX-License-Identifier: MIT
#include "tools/harness/record.h"

#include <algorithm>

static lumd::Record actionElement(const Fields &fields) { return record(lumd::actionElementRecord, fields); }

static void setList(lu_field *record, uint32_t id, const QVariant &value)
{
    if (value.userType() == qMetaTypeId<Choices>()) {
        return lumd::setStrings(record, id, value.value<Choices>());
    }
    const auto actions = value.value<std::vector<Fields>>();
    std::vector<lumd::Record> records(actions.size());
    std::transform(actions.begin(), actions.end(), records.begin(), actionElement);
    lumd::setRecords(record, id, std::move(records));
}

lumd::Record record(uint32_t type, const Fields &fields)
{
    lumd::Record record = lumd::newRecord(type);
    for (const auto &[id, value] : fields) {
        const QByteArray bytes = value.toByteArray();
        const auto size = static_cast<size_t>(bytes.size());
        switch (field::typeCode(id)) {
        case field::String:
            lumd::setString(record.get(), id, {bytes.constData(), size});
            break;
        case field::Integer:
            lumd::setInt(record.get(), id, value.toLongLong());
            break;
        case field::Boolean:
            lumd::setBool(record.get(), id, value.toBool());
            break;
        case field::Bytes:
            lumd::setBytes(record.get(), id, bytes.constData(), size);
            break;
        default:
            setList(record.get(), id, value);
        }
    }
    return record;
}
