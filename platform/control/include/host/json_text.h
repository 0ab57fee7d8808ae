#ifndef PLATFORM_CONTROL_HOST_JSON_TEXT_H
#define PLATFORM_CONTROL_HOST_JSON_TEXT_H

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <cJSON.h>

#include "hilog/host_text.h"

namespace OHOS::Host {

// A value as text, on one line or laid out for people. Whoever parsed it took its escapes away: what is no UTF-8, or
// steers a terminal, is escaped here again. Empty for a value that cannot be printed. Any thread.
inline std::string JsonText(const cJSON* value, bool laidOut = false)
{
    const std::unique_ptr<char, void (*)(void*)> printed(
        laidOut ? cJSON_Print(value) : cJSON_PrintUnformatted(value), cJSON_free);
    std::string text;
    for (std::string_view rest = printed == nullptr ? "" : printed.get(); !rest.empty();) {
        const auto isPlain = [](char byte) { return static_cast<unsigned char>(byte) < 0x7F; };
        const auto plainEnd = std::find_if_not(rest.begin(), rest.end(), isPlain);
        const auto otherEnd = std::find_if(plainEnd, rest.end(), isPlain);
        const auto plain = static_cast<size_t>(plainEnd - rest.begin());
        const auto other = static_cast<size_t>(otherEnd - plainEnd);
        text.append(rest.substr(0, plain)); // control characters have been escaped by the printer
        AppendEscaped(text, rest.substr(plain, other), EscapeStyle::JSON);
        rest.remove_prefix(plain + other);
    }
    return text;
}

// A JSON value being built; freed with its owner. One thread at a time. Texts may hold any bytes: peers choose names,
// and what is not UTF-8, or steers a terminal, is escaped here. A value that is put into another one is given away.
class Json {
public:
    static Json Object()
    {
        return Json(cJSON_CreateObject());
    }
    static Json Array()
    {
        return Json(cJSON_CreateArray());
    }
    Json& Put(const char* key, const std::string& value)
    {
        (void)cJSON_AddRawToObject(value_.get(), key, Quoted(value).c_str());
        return *this;
    }
    Json& Put(const char* key, const char* value)
    {
        return Put(key, std::string(value));
    }
    Json& Put(const char* key, int64_t value)
    {
        (void)cJSON_AddNumberToObject(value_.get(), key, static_cast<double>(value));
        return *this;
    }
    Json& Put(const char* key, bool value)
    {
        (void)cJSON_AddBoolToObject(value_.get(), key, value);
        return *this;
    }
    Json& Put(const char* key, Json& value)
    {
        return Put(key, std::move(value));
    }
    Json& Put(const char* key, Json&& value)
    {
        (void)cJSON_AddItemToObject(value_.get(), key, value.value_.release());
        return *this;
    }
    Json& Add(Json& value)
    {
        return Add(std::move(value));
    }
    Json& Add(Json&& value)
    {
        (void)cJSON_AddItemToArray(value_.get(), value.value_.release());
        return *this;
    }
    Json& Add(const std::string& value)
    {
        (void)cJSON_AddItemToArray(value_.get(), cJSON_CreateRaw(Quoted(value).c_str()));
        return *this;
    }
    Json& Add(int64_t value)
    {
        (void)cJSON_AddItemToArray(value_.get(), cJSON_CreateNumber(static_cast<double>(value)));
        return *this;
    }
    // Takes a value that is JSON already; null when it is not.
    Json& PutRaw(const char* key, const std::string& json)
    {
        cJSON* parsed = cJSON_Parse(json.c_str());
        (void)cJSON_AddItemToObject(value_.get(), key, parsed == nullptr ? cJSON_CreateNull() : parsed);
        return *this;
    }
    std::string Text() const
    {
        std::string text = JsonText(value_.get());
        return text.empty() ? "null" : text;
    }

private:
    static std::string Quoted(const std::string& text)
    {
        std::string quoted = "\"";
        AppendEscaped(quoted, text, EscapeStyle::JSON);
        return quoted + "\"";
    }

    explicit Json(cJSON* value) : value_(value, cJSON_Delete)
    {}

    std::unique_ptr<cJSON, void (*)(cJSON*)> value_;
};

template <typename Numbers>
Json NumbersJson(const Numbers& numbers)
{
    Json list = Json::Array();
    for (int64_t number : numbers) {
        list.Add(number);
    }
    return list;
}

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_HOST_JSON_TEXT_H
