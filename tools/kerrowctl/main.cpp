// kerrowctl: the command-line client of the video storage server, built on
// the C++ layer of KerrowSDK. Global options come before the subcommand:
//   kerrowctl --server 127.0.0.1:7000 --camera cam-1 --json files list
#include <iostream>

#include "Ctl.h"

namespace {

using namespace kerrowctl;

// Reports a failure as one line on stderr, or as the command's JSON document.
int fail(const Globals& g, int status, const std::string& what, int code = 0) {
    if (g.json) {
        json err{{"message", what}, {"status", status}};
        if (code != 0) {
            err["code"] = code;
            err["meaning"] = kerrow::message(code);
        }
        std::cout << json{{"ok", false}, {"error", err}}.dump(2) << "\n";
    } else {
        std::cerr << "kerrowctl: " << what << "\n";
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    Globals g;
    Context ctx(g);
    Action action;

    CLI::App app{
        "kerrowctl: cameras, record policies, alarms, the catalogue and transfers of a "
        "video storage server, through KerrowSDK"};
    app.require_subcommand(1);
    app.add_option("--server", g.server, "storage server as HOST:PORT")
        ->envname("KERROW_SERVER")
        ->capture_default_str();
    app.add_option("--fallback-port", g.fallbackPort,
                   "port used when --server gives none (or port 0)");
    app.add_option("--camera", g.camera, "camera id the connection works for")
        ->envname("KERROW_CAMERA");
    app.add_flag("--json", g.json, "print one JSON document per command (errors too)");
    app.add_option("--stall", g.stallSeconds,
                   "give a transfer up after this many seconds without progress")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.footer(
        "Exit status: 0 success, 1 other library failure, 2 usage error, 3 server unreachable,\n"
        "4 operation refused by the server, 5 no reply in time or network broken,\n"
        "6 local file not opened, 7 transfer stalled or incomplete, 8 a demo step failed.");

    addCameraCommands(app, ctx, action);
    addPolicyCommands(app, ctx, action);
    addFileCommands(app, ctx, action);
    addTransferCommands(app, ctx, action);
    addDemoCommand(app, ctx, action);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        if (g.json) return fail(g, kUsage, e.what());
        app.exit(e);
        return kUsage;
    }

    try {
        if (action) action();
        return kOk;
    } catch (const Usage& e) {
        return fail(g, kUsage, e.what());
    } catch (const kerrow::Error& e) {
        return fail(g, statusOf(e.code()), e.what(), e.code());
    } catch (const Failure& e) {
        if (*e.what() == '\0') return e.status;  // already reported
        return fail(g, e.status, e.what());
    } catch (const std::exception& e) {
        return fail(g, kFailed, e.what());
    }
}
