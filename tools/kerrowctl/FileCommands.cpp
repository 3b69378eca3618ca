// files list|delete|protect|unprotect: the camera's catalogue of recordings.
#include <iostream>

#include "Ctl.h"

namespace kerrowctl {

namespace {

// File permission values: a protected file may not be deleted.
constexpr uint16_t kDeletable = 0;
constexpr uint16_t kProtected = 1;

struct FileArgs {
    std::string from, to;
    int recordType = 1;
    std::string id;
};

}  // namespace

// The span that stands for "all recordings". It ends before 2038 so that
// the 32-bit time_t of the i386 flavour holds it.
kerrow::Time allFrom() { return parseTime("2000-01-01 00:00:00"); }
kerrow::Time allTo() { return parseTime("2037-12-31 23:59:59"); }

void addFileCommands(CLI::App& app, Context& ctx, Action& action) {
    static FileArgs a;
    auto* files = app.add_subcommand("files", "the camera's recorded files");
    files->require_subcommand(1);

    auto* list = files->add_subcommand("list", "list recordings (all of them without a span)");
    list->add_option("--from", a.from, "span start (YYYY-MM-DD HH:MM[:SS], now, -1h)");
    list->add_option("--to", a.to, "span end");
    list->add_option("--record-type", a.recordType, "record type")->capture_default_str();
    list->callback([&] {
        action = [&] {
            const kerrow::Time from = a.from.empty() ? allFrom() : parseTime(a.from);
            const kerrow::Time to = a.to.empty() ? allTo() : parseTime(a.to);
            const auto found = ctx.connect().files(static_cast<uint16_t>(a.recordType), from, to);
            json doc = json::array();
            for (const auto& f : found) doc.push_back(toJson(f));
            ctx.print(doc, [&] {
                std::vector<std::vector<std::string>> rows;
                for (const auto& f : found) {
                    rows.push_back({f.id, f.cameraGuid, std::to_string(f.recordType),
                                    std::to_string(f.size), timeText(f.start), timeText(f.end),
                                    f.permission == kProtected ? "protected" : "deletable",
                                    f.alarmType});
                }
                printTable(
                    {"FILE", "CAMERA", "TYPE", "BYTES", "START", "END", "PERMISSION", "ALARM"},
                    rows);
            });
        };
    });

    auto* del = files->add_subcommand("delete", "delete a recording");
    del->add_option("FILE", a.id, "12-digit file id")->required();
    del->callback([&] {
        action = [&] {
            ctx.connect().deleteFile(a.id);
            ctx.done("file " + a.id + " deleted");
        };
    });
    auto* protect = files->add_subcommand("protect", "forbid deleting a recording");
    protect->add_option("FILE", a.id, "12-digit file id")->required();
    protect->callback([&] {
        action = [&] {
            ctx.connect().setFilePermission(a.id, kProtected);
            ctx.done("file " + a.id + " protected");
        };
    });
    auto* unprotect = files->add_subcommand("unprotect", "allow deleting a recording again");
    unprotect->add_option("FILE", a.id, "12-digit file id")->required();
    unprotect->callback([&] {
        action = [&] {
            ctx.connect().setFilePermission(a.id, kDeletable);
            ctx.done("file " + a.id + " may be deleted");
        };
    });
}

}  // namespace kerrowctl
