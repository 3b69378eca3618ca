// What the subcommands of kerrowctl share: the global options, the output
// (tables or one JSON document), times given on the command line, and the
// exit status of each kind of failure.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "kerrow/kerrow.hpp"

namespace kerrowctl {

using nlohmann::json;

// Exit statuses, one per kind of failure.
enum Status : int {
    kOk = 0,
    kFailed = 1,       // any other library failure
    kUsage = 2,        // bad command line
    kUnreachable = 3,  // result 3: the server could not be reached
    kRefused = 4,      // the server refused the operation (99 and up)
    kNoReply = 5,      // results 11, 12, 18: no reply, network broken, bad reply
    kLocalFile = 6,    // result 16 or a local file that cannot be read or written
    kIncomplete = 7,   // a transfer that stalled, ended short or came out short
    kDemoFailed = 8,   // a step of the demo failed
};

// The exit status of a result code.
int statusOf(int code);

// A failure of kerrowctl itself with its exit status (a local file that
// cannot be opened, a stalled transfer).
struct Failure : std::runtime_error {
    Failure(int status, const std::string& what) : std::runtime_error(what), status(status) {}
    int status;
};

// A bad value found after parsing (a malformed time, a missing --camera).
struct Usage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Globals {
    std::string server = "127.0.0.1:7000";  // kerrow-sim listens here by default
    int fallbackPort = 0;
    std::string camera;
    bool json = false;
    int stallSeconds = 30;
    kerrow::ConnectionSettings cameraFields;  // camera add and modify fill these
};

class Context {
  public:
    explicit Context(Globals& globals) : g(globals) {}

    Globals& g;

    // Settings of a connection for the camera (required unless optional).
    kerrow::ConnectionSettings settings(bool needCamera = true) const;
    kerrow::Library& library();
    // A fresh connection; transfers take one each.
    kerrow::Connection connect(bool needCamera = true);

    // Output of a command: the JSON document, and the table that stands for
    // it when --json is not given.
    void print(const json& doc, const std::function<void()>& table) const;
    void done(const std::string& what) const;  // {"ok":true,...} or one line

  private:
    std::unique_ptr<kerrow::Library> library_;
};

// "YYYY-MM-DD HH:MM[:SS]" in local time, "now", or now minus "30s", "15m",
// "2h", "1d" written with a leading minus.
kerrow::Time parseTime(const std::string& text);
std::string timeText(kerrow::Time t);
// The span that files list takes without --from and --to: every recording.
kerrow::Time allFrom();
kerrow::Time allTo();
// Prints rows under a header, columns padded to their widest cell.
void printTable(const std::vector<std::string>& header,
                const std::vector<std::vector<std::string>>& rows);

json toJson(const kerrow::FileInfo& f);
json toJson(const kerrow::Policy& p);
json toJson(const kerrow::TaskInfo& t);

// Each family adds its subcommands; the action runs after parsing.
using Action = std::function<void()>;
void addCameraCommands(CLI::App& app, Context& ctx, Action& action);
void addPolicyCommands(CLI::App& app, Context& ctx, Action& action);
void addFileCommands(CLI::App& app, Context& ctx, Action& action);
void addTransferCommands(CLI::App& app, Context& ctx, Action& action);
void addDemoCommand(CLI::App& app, Context& ctx, Action& action);

}  // namespace kerrowctl
