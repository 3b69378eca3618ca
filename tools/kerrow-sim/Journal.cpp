#include "Journal.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

namespace kerrow::sim {

std::string JournalTime() {
    auto now = std::chrono::system_clock::now();
    std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()) % 1000;
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(ms.count()));
    return text;
}

bool Journal::Open(const std::string& path, std::string* error) {
    if (path.empty()) return true;
    std::lock_guard<std::mutex> lock(mutex_);
    file_.open(path, std::ios::out | std::ios::app | std::ios::binary);
    if (!file_) {
        if (error) *error = "cannot open the journal " + path;
        return false;
    }
    return true;
}

void Journal::Write(const JournalEntry& entry) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!file_.is_open()) return;
    nlohmann::ordered_json line;
    line["time"] = JournalTime();
    line["connection"] = entry.connection;
    line["event"] = entry.event;
    line["method"] = entry.method;
    line["kind"] = entry.kind;
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    // Texts a client sent may hold any bytes; the journal keeps them readable.
    for (const auto& [path, text] : entry.fields) fields[path] = text;
    line["fields"] = fields;
    line["code"] = entry.replied ? nlohmann::ordered_json(entry.code) : nlohmann::ordered_json();
    line["outcome"] = entry.outcome;
    if (entry.event == "transfer") line["bytes"] = entry.bytes;
    file_ << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    file_.flush();
}

void Journal::Close() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (file_.is_open()) file_.close();
}

}  // namespace kerrow::sim
