// The shared parts of kerrowctl: connection settings from the global
// options, output, times and exit statuses.
#include "Ctl.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iostream>

namespace kerrowctl {

int statusOf(int code) {
    switch (code) {
        case 0:
            return kOk;
        case 3:
            return kUnreachable;
        case 11:
        case 12:
        case 18:
            return kNoReply;
        case 16:
            return kLocalFile;
        default:
            return code >= 99 ? kRefused : kFailed;
    }
}

namespace {

// The dotted IPv4 address of a host name or address text.
std::string resolve(const std::string& host) {
    in_addr addr{};
    if (inet_pton(AF_INET, host.c_str(), &addr) == 1) return host;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || found == nullptr) {
        throw kerrow::Error(3, "resolve " + host);
    }
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr, text,
              sizeof text);
    freeaddrinfo(found);
    return text;
}

}  // namespace

kerrow::ConnectionSettings Context::settings(bool needCamera) const {
    if (needCamera && g.camera.empty()) throw Usage("--camera ID is required for this command");
    kerrow::ConnectionSettings s = g.cameraFields;
    const auto colon = g.server.rfind(':');
    std::string host = g.server;
    if (colon != std::string::npos) {
        host = g.server.substr(0, colon);
        try {
            s.port = std::stoi(g.server.substr(colon + 1));
        } catch (const std::exception&) {
            throw Usage("--server wants HOST:PORT, not '" + g.server + "'");
        }
    }
    s.server = resolve(host.empty() ? "127.0.0.1" : host);
    s.fallbackPort = g.fallbackPort;
    s.cameraId = g.camera;
    return s;
}

kerrow::Library& Context::library() {
    if (!library_) library_ = std::make_unique<kerrow::Library>();
    return *library_;
}

kerrow::Connection Context::connect(bool needCamera) {
    const kerrow::ConnectionSettings s = settings(needCamera);
    return kerrow::Connection(library(), s);
}

void Context::print(const json& doc, const std::function<void()>& table) const {
    if (g.json) {
        std::cout << doc.dump(2) << "\n";
    } else {
        table();
    }
}

void Context::done(const std::string& what) const {
    print(json{{"ok", true}, {"done", what}}, [&] { std::cout << what << "\n"; });
}

kerrow::Time parseTime(const std::string& text) {
    const auto now = std::chrono::system_clock::now();
    if (text == "now") return now;
    if (text.size() >= 3 && text[0] == '-') {
        size_t used = 0;
        long n = 0;
        try {
            n = std::stol(text.substr(1), &used);
        } catch (const std::exception&) {
            throw Usage("bad time '" + text + "'");
        }
        const std::string unit = text.substr(1 + used);
        long seconds = unit == "s"   ? 1
                       : unit == "m" ? 60
                       : unit == "h" ? 3600
                       : unit == "d" ? 86400
                                     : 0;
        if (seconds == 0) throw Usage("bad time '" + text + "' (units: s, m, h, d)");
        return now - std::chrono::seconds(n * seconds);
    }
    TransferTime t{};
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    const int n = std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s);
    if (n != 3 && n < 5) throw Usage("bad time '" + text + "' (YYYY-MM-DD HH:MM[:SS])");
    t.year = static_cast<int16_t>(y);
    t.month = static_cast<int16_t>(mo);
    t.day = static_cast<int16_t>(d);
    t.hour = static_cast<int16_t>(h);
    t.minute = static_cast<int16_t>(mi);
    t.second = static_cast<int16_t>(s);
    return kerrow::fromTransferTime(t);
}

std::string timeText(kerrow::Time t) { return kerrow::formatTime(t); }

void printTable(const std::vector<std::string>& header,
                const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> width(header.size());
    for (size_t i = 0; i < header.size(); ++i) width[i] = header[i].size();
    for (const auto& row : rows) {
        for (size_t i = 0; i < row.size() && i < width.size(); ++i) {
            width[i] = std::max(width[i], row[i].size());
        }
    }
    auto line = [&](const std::vector<std::string>& cells) {
        std::string out;
        for (size_t i = 0; i < cells.size(); ++i) {
            out += cells[i];
            if (i + 1 < cells.size()) out += std::string(width[i] - cells[i].size() + 2, ' ');
        }
        std::cout << out << "\n";
    };
    line(header);
    for (const auto& row : rows) line(row);
    if (rows.empty()) std::cout << "(none)\n";
}

json toJson(const kerrow::FileInfo& f) {
    return json{{"id", f.id},
                {"camera", f.cameraGuid},
                {"recordType", f.recordType},
                {"alarmType", f.alarmType},
                {"alarmTime", timeText(f.alarmTime)},
                {"size", f.size},
                {"start", timeText(f.start)},
                {"end", timeText(f.end)},
                {"status", f.status},
                {"permission", f.permission}};
}

json toJson(const kerrow::Policy& p) {
    json tasks = json::array();
    for (const auto& t : p.tasks) {
        tasks.push_back(json{{"id", t.id},
                             {"start", timeText(t.start)},
                             {"end", timeText(t.end)},
                             {"daysOfWeek", t.daysOfWeek},
                             {"status", t.status}});
    }
    return json{{"id", p.id},
                {"camera", p.cameraGuid},
                {"recordType", p.recordType},
                {"cronType", p.cronType},
                {"status", p.status},
                {"created", timeText(p.created)},
                {"updated", timeText(p.updated)},
                {"taskCount", p.taskCount},
                {"tasks", tasks}};
}

json toJson(const kerrow::TaskInfo& t) {
    return json{{"id", t.id},
                {"camera", t.cameraGuid},
                {"recordType", t.recordType},
                {"cronType", t.cronType},
                {"dayOfWeek", t.dayOfWeek},
                {"start", timeText(t.start)},
                {"end", timeText(t.end)},
                {"alarmType", t.alarmType},
                {"alarmTime", timeText(t.alarmTime)},
                {"fileName", t.fileName},
                {"fileSize", t.fileSize},
                {"status", t.status}};
}

}  // namespace kerrowctl
