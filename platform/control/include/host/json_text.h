#ifndef PLATFORM_CONTROL_HOST_JSON_TEXT_H
#define PLATFORM_CONTROL_HOST_JSON_TEXT_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <cJSON.h>

#include "hilog/host_text.h"

namespace OHOS::Host {

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
        std::unique_ptr<char, void (*)(void*)> text(cJSON_PrintUnformatted(value_.get()), cJSON_free);
        return text == nullptr ? std::string("null") : std::string(text.get());
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

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_HOST_JSON_TEXT_H
