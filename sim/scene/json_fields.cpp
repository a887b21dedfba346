#include "sim/scene/json_fields.hpp"

#include <cmath>
#include <fmt/format.h>

namespace ferrow::sim {

JsonFields::JsonFields(const nlohmann::json& object, std::string place)
    : object_(object), place_(std::move(place)) {
    if (!object_.is_object())
        throw SceneError(fmt::format("{}: expected an object", place_.empty() ? "scene" : place_));
}

std::string JsonFields::placeOf(const std::string& key) const {
    return place_.empty() ? key : place_ + "." + key;
}

void JsonFields::fail(const std::string& key, const std::string& why) const {
    throw SceneError(fmt::format("{}: {}", placeOf(key), why));
}

bool JsonFields::has(const std::string& key) {
    asked_.insert(key);
    return object_.contains(key) && !object_.at(key).is_null();
}

const nlohmann::json& JsonFields::raw(const std::string& key) {
    if (!has(key))
        fail(key, "missing");
    return object_.at(key);
}

double JsonFields::number(const std::string& key, double low, double high) {
    const auto& value = raw(key);
    if (!value.is_number())
        fail(key, "expected a number");
    const double x = value.get<double>();
    if (!(x >= low && x <= high))
        fail(key, fmt::format("{} is not within {} to {}", x, low, high));
    return x;
}

double JsonFields::number(const std::string& key, double fallback, double low, double high) {
    return has(key) ? number(key, low, high) : fallback;
}

std::string JsonFields::text(const std::string& key) {
    const auto& value = raw(key);
    if (!value.is_string())
        fail(key, "expected a text");
    return value.get<std::string>();
}

std::string JsonFields::text(const std::string& key, const std::string& fallback) {
    return has(key) ? text(key) : fallback;
}

bool JsonFields::flag(const std::string& key, bool fallback) {
    if (!has(key))
        return fallback;
    if (!raw(key).is_boolean())
        fail(key, "expected true or false");
    return raw(key).get<bool>();
}

std::vector<double> JsonFields::numbers(const std::string& key, double low, double high) {
    const auto& value = raw(key);
    if (!value.is_array() || value.empty())
        fail(key, "expected a list of numbers");
    std::vector<double> out;
    for (const auto& one : value) {
        if (!one.is_number())
            fail(key, "expected a list of numbers");
        out.push_back(one.get<double>());
        if (!(out.back() >= low && out.back() <= high))
            fail(key, fmt::format("{} is not within {} to {}", out.back(), low, high));
    }
    return out;
}

std::vector<std::string> JsonFields::texts(const std::string& key) {
    const auto& value = raw(key);
    if (!value.is_array() || value.empty())
        fail(key, "expected a list of texts");
    std::vector<std::string> out;
    for (const auto& one : value) {
        if (!one.is_string())
            fail(key, "expected a list of texts");
        out.push_back(one.get<std::string>());
    }
    return out;
}

int JsonFields::choice(const std::string& key, const std::vector<std::string>& choices, int fallback) {
    if (!has(key))
        return fallback;
    const std::string word = text(key);
    std::string known;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (choices[i] == word)
            return static_cast<int>(i);
        known += (i == 0 ? "" : ", ") + choices[i];
    }
    fail(key, fmt::format("\"{}\" is none of {}", word, known));
}

void JsonFields::finish() const {
    for (const auto& item : object_.items())
        if (!asked_.contains(item.key()))
            fail(item.key(), "unknown key");
}

} // namespace ferrow::sim
