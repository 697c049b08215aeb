#include "core/base/json_fields.h"

#include "core/base/rename_failure.h"

#include <limits>

JsonFields::JsonFields(const nlohmann::ordered_json& json) : object(json) {
    if (!json.is_object())
        throw RenameFailure(QStringLiteral("The data is not a JSON object."));
}

bool JsonFields::has(const char* key) const {
    return object.contains(key);
}

const nlohmann::ordered_json& JsonFields::value(const char* key) const {
    auto found = object.find(key);
    if (found == object.end())
        throw RenameFailure(QStringLiteral("The key “%1” is missing.").arg(QLatin1String(key)));
    return *found;
}

void JsonFields::wrongType(const char* key) const {
    throw RenameFailure(QStringLiteral("The key “%1” has the wrong type.").arg(QLatin1String(key)));
}

QString JsonFields::string(const char* key) const {
    const auto& found = value(key);
    if (!found.is_string())
        wrongType(key);
    const auto& text = found.get_ref<const std::string&>();
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

bool JsonFields::boolean(const char* key) const {
    const auto& found = value(key);
    if (!found.is_boolean())
        wrongType(key);
    return found.get<bool>();
}

std::int64_t JsonFields::int64(const char* key) const {
    const auto& found = value(key);
    if (found.is_number_unsigned()) {
        auto number = found.get<std::uint64_t>();
        if (number > std::uint64_t(std::numeric_limits<std::int64_t>::max()))
            wrongType(key);
        return std::int64_t(number);
    }
    if (!found.is_number_integer())
        wrongType(key);
    return found.get<std::int64_t>();
}

std::int32_t JsonFields::int32(const char* key) const {
    auto number = int64(key);
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
        wrongType(key);
    return std::int32_t(number);
}

std::uint64_t JsonFields::uint64(const char* key) const {
    const auto& found = value(key);
    if (found.is_number_unsigned())
        return found.get<std::uint64_t>();
    if (found.is_number_integer() && found.get<std::int64_t>() >= 0)
        return std::uint64_t(found.get<std::int64_t>());
    wrongType(key);
}

void JsonFields::optional(const char* key, bool& into) const {
    if (has(key))
        into = boolean(key);
}

void JsonFields::optional(const char* key, std::int64_t& into) const {
    if (has(key))
        into = int64(key);
}

void JsonFields::optional(const char* key, QString& into) const {
    if (has(key))
        into = string(key);
}
