#include "Faults.h"

#include <nlohmann/json.hpp>

namespace kerrow::sim {
namespace {

struct ActionName {
    FaultAction action;
    const char* name;
};
constexpr ActionName kActions[] = {
    {FaultAction::Delay, "delay"},
    {FaultAction::NoReply, "no_reply"},
    {FaultAction::CloseBefore, "close"},
    {FaultAction::CloseMidway, "close_midway"},
    {FaultAction::BadLength, "bad_length"},
    {FaultAction::NotXml, "not_xml"},
    {FaultAction::Code, "code"},
    {FaultAction::Stall, "stall"},
    {FaultAction::Cut, "cut"},
};

template <class T>
bool Optional(const nlohmann::json& rule, const char* key, T* value, std::string* error) {
    auto it = rule.find(key);
    if (it == rule.end()) return true;
    try {
        *value = it->get<T>();
        return true;
    } catch (const nlohmann::json::exception&) {
        *error = std::string("rule field '") + key + "' has the wrong type";
        return false;
    }
}

bool ParseRule(const nlohmann::json& item, FaultRule* rule, std::string* error) {
    if (!item.is_object()) {
        *error = "a rule must be an object";
        return false;
    }
    std::string action;
    if (!Optional(item, "action", &action, error)) return false;
    bool known = false;
    for (const auto& a : kActions) {
        if (action == a.name) {
            rule->action = a.action;
            known = true;
        }
    }
    if (!known) {
        *error = "unknown action '" + action + "'";
        return false;
    }
    int64_t connection = 0;
    int64_t afterBytes = 0;
    if (!Optional(item, "method", &rule->method, error) ||
        !Optional(item, "camera", &rule->camera, error) ||
        !Optional(item, "connection", &connection, error) ||
        !Optional(item, "times", &rule->times, error) || !Optional(item, "ms", &rule->ms, error) ||
        !Optional(item, "digits", &rule->digits, error) ||
        !Optional(item, "code", &rule->code, error) ||
        !Optional(item, "after_bytes", &afterBytes, error))
        return false;
    if (item.contains("seconds")) {
        int seconds = 0;
        if (!Optional(item, "seconds", &seconds, error)) return false;
        rule->ms = seconds * 1000;
    }
    if (connection < 0 || afterBytes < 0 || rule->ms < 0) {
        *error = "connection, after_bytes, ms and seconds must not be negative";
        return false;
    }
    if (rule->digits.size() != 8) {
        *error = "digits must be eight characters";
        return false;
    }
    rule->connection = static_cast<uint64_t>(connection);
    rule->afterBytes = static_cast<uint64_t>(afterBytes);
    return true;
}

}  // namespace

const char* FaultActionName(FaultAction action) {
    for (const auto& a : kActions)
        if (a.action == action) return a.name;
    return "?";
}

bool ParseFaultRules(const std::string& json, std::vector<FaultRule>* rules, std::string* error) {
    std::string ignored;
    if (!error) error = &ignored;
    nlohmann::json document = nlohmann::json::parse(json, nullptr, false);
    if (document.is_discarded()) {
        *error = "fault rules are not JSON";
        return false;
    }
    const nlohmann::json* list = &document;
    if (document.is_object()) {
        auto it = document.find("rules");
        if (it == document.end()) {
            *error = "fault rules: an object needs a \"rules\" array";
            return false;
        }
        list = &*it;
    }
    if (!list->is_array()) {
        *error = "fault rules must be an array of rules";
        return false;
    }
    std::vector<FaultRule> parsed;
    for (const auto& item : *list) {
        FaultRule rule;
        if (!ParseRule(item, &rule, error)) {
            *error = "rule " + std::to_string(parsed.size() + 1) + ": " + *error;
            return false;
        }
        parsed.push_back(rule);
    }
    *rules = std::move(parsed);
    return true;
}

bool FaultRules::Set(const std::string& json, std::string* error) {
    std::vector<FaultRule> parsed;
    if (!ParseFaultRules(json, &parsed, error)) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    rules_ = std::move(parsed);
    return true;
}

std::optional<FaultRule> FaultRules::Match(int method, const std::string& camera,
                                           uint64_t connection) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& rule : rules_) {
        if (rule.times == 0) continue;
        if (rule.method >= 0 && rule.method != method) continue;
        if (!rule.camera.empty() && rule.camera != camera) continue;
        if (rule.connection != 0 && rule.connection != connection) continue;
        if (rule.times > 0) --rule.times;
        return rule;
    }
    return std::nullopt;
}

}  // namespace kerrow::sim
