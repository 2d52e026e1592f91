#pragma once

#include <cstdlib>
#include <jansson.h>
#include <memory>
#include <string>

struct JsonRelease
{
    void operator()(json_t* json) const { json_decref(json); }
};

/// One reference to a JSON value.
using JsonRef = std::unique_ptr<json_t, JsonRelease>;

inline std::string textOf(json_t* json, size_t flags)
{
    const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(json, flags), &std::free);
    return text ? std::string(text.get()) : std::string();
}

/// Null where @p text is no JSON.
inline JsonRef jsonOf(const std::string& text, size_t flags)
{
    return JsonRef(json_loadb(text.data(), text.size(), flags, nullptr));
}
