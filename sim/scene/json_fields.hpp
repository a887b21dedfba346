#pragma once
#include "sim/scene/scene.hpp"

#include <nlohmann/json.hpp>
#include <set>

namespace ferrow::sim {

/// One JSON object of a scene, read key by key. Wrong types, values out of range and keys that nobody asked
/// for are SceneErrors that name the place, like "stations[3].wpm".
class JsonFields {
public:
    JsonFields(const nlohmann::json& object, std::string place);

    bool has(const std::string& key);
    double number(const std::string& key, double fallback, double low, double high);
    double number(const std::string& key, double low, double high); ///< required
    std::string text(const std::string& key, const std::string& fallback);
    std::string text(const std::string& key); ///< required
    bool flag(const std::string& key, bool fallback);
    std::vector<double> numbers(const std::string& key, double low, double high);
    std::vector<std::string> texts(const std::string& key);
    /// Index of the key's text in `choices`, or `fallback` if the key is missing.
    int choice(const std::string& key, const std::vector<std::string>& choices, int fallback);
    /// The value as it is; the caller reads it with JsonFields of its own.
    const nlohmann::json& raw(const std::string& key);
    std::string placeOf(const std::string& key) const;
    /// Call when all known keys have been read.
    void finish() const;

private:
    [[noreturn]] void fail(const std::string& key, const std::string& why) const;

    const nlohmann::json& object_;
    std::string place_;
    std::set<std::string> asked_;
};

} // namespace ferrow::sim
