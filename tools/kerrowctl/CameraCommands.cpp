// camera add|modify|delete, alarm raise|clear, record start|stop: the
// commands about the camera of the connection.
#include <iostream>

#include "Ctl.h"

namespace kerrowctl {

namespace {

// The camera's description travels with the connection; add and modify send it.
void addCameraFields(CLI::App* cmd, Globals& g) {
    auto& f = g.cameraFields;
    cmd->add_option("--name", f.cameraName, "camera name");
    cmd->add_option("--desc", f.cameraDesc, "camera description");
    cmd->add_option("--type", f.cameraType, "camera (and encoder) type");
    cmd->add_option("--encoder-name", f.encoderName, "encoder name");
    cmd->add_option("--encoder-ip", f.encoderIp, "encoder IPv4 address");
    cmd->add_option("--encoder-port", f.encoderPort, "encoder port");
    cmd->add_option("--encoder-dns", f.encoderDns, "encoder DNS name (reached by name when set)");
    cmd->add_option("--channel", f.encoderChannel, "encoder channel");
    cmd->add_option("--user", f.encoderUsername, "encoder login name");
    cmd->add_option("--password", f.encoderPassword, "encoder password");
    cmd->add_option("--pre-record", f.preRecord, "pre-recording setting");
}

}  // namespace

void addCameraCommands(CLI::App& app, Context& ctx, Action& action) {
    auto* camera = app.add_subcommand("camera", "register, change or remove the camera");
    camera->require_subcommand(1);
    auto* add = camera->add_subcommand("add", "register the camera with the server");
    addCameraFields(add, ctx.g);
    add->callback([&] {
        action = [&] {
            ctx.connect().addCamera();
            ctx.done("camera " + ctx.g.camera + " added");
        };
    });
    auto* modify = camera->add_subcommand("modify", "send the camera's new description");
    addCameraFields(modify, ctx.g);
    modify->callback([&] {
        action = [&] {
            ctx.connect().modifyCamera();
            ctx.done("camera " + ctx.g.camera + " modified");
        };
    });
    camera->add_subcommand("delete", "remove the camera from the server")->callback([&] {
        action = [&] {
            ctx.connect().deleteCamera();
            ctx.done("camera " + ctx.g.camera + " deleted");
        };
    });

    auto* alarm = app.add_subcommand("alarm", "raise or clear an alarm on the camera");
    alarm->require_subcommand(1);
    auto* raise = alarm->add_subcommand("raise", "tell the server an alarm occurred (it records)");
    static std::string type = "motion", at = "now";
    static uint16_t maxRecord = 60;
    raise->add_option("--type", type, "alarm type text")->capture_default_str();
    raise->add_option("--at", at, "alarm time (YYYY-MM-DD HH:MM[:SS], now, -5m)")
        ->capture_default_str();
    raise->add_option("--max-record", maxRecord, "seconds the server records for the alarm")
        ->capture_default_str();
    raise->callback([&] {
        action = [&] {
            kerrow::Alarm a;
            a.type = type;
            a.time = parseTime(at);
            a.maxRecordTime = maxRecord;
            ctx.connect().raiseAlarm(a);
            ctx.done("alarm '" + type + "' raised on " + ctx.g.camera);
        };
    });
    alarm->add_subcommand("clear", "clear the camera's alarm")->callback([&] {
        action = [&] {
            ctx.connect().clearAlarm();
            ctx.done("alarm cleared on " + ctx.g.camera);
        };
    });

    auto* record = app.add_subcommand("record", "start or stop manual recording");
    record->require_subcommand(1);
    auto* start = record->add_subcommand("start", "record the camera for a while");
    static uint32_t seconds = 60;
    start->add_option("--max-record", seconds, "seconds to record at most")->capture_default_str();
    start->callback([&] {
        action = [&] {
            ctx.connect().startRecording(seconds);
            ctx.done("manual recording started on " + ctx.g.camera);
        };
    });
    record->add_subcommand("stop", "stop manual recording")->callback([&] {
        action = [&] {
            ctx.connect().stopRecording();
            ctx.done("manual recording stopped on " + ctx.g.camera);
        };
    });
}

}  // namespace kerrowctl
