// kerrowctl run as a process against a simulator: its JSON output parsed and
// checked, its exit statuses, and no progress bar off a terminal.
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "SimFixture.h"

namespace kerrow::test {
namespace {

using nlohmann::json;

struct Outcome {
    int status = -1;
    std::string out, err;
    json doc() const { return json::parse(out); }
};

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class KerrowctlTest : public SimTest {
  protected:
    // Runs kerrowctl with the server and camera before the given arguments.
    Outcome Ctl(const std::vector<std::string>& args, const std::string& camera = "cam-1") {
        std::vector<std::string> all = {"--server", "127.0.0.1:" + std::to_string(sim_->Port())};
        if (!camera.empty()) all.insert(all.end(), {"--camera", camera});
        all.insert(all.end(), args.begin(), args.end());
        return Raw(all);
    }
    Outcome Raw(const std::vector<std::string>& args) {
        std::string cmd = std::string("'") + KERROWCTL_PATH + "'";
        if (*KERROW_TOOL_RUNNER != '\0') cmd = std::string("'") + KERROW_TOOL_RUNNER + "' " + cmd;
        for (const auto& a : args) cmd += " '" + a + "'";
        cmd += " > '" + Path("out") + "' 2> '" + Path("err") + "' < /dev/null";
        Outcome r;
        const int raw = std::system(cmd.c_str());
        r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        r.out = ReadAll(Path("out"));
        r.err = ReadAll(Path("err"));
        return r;
    }
};

TEST_F(KerrowctlTest, JsonDocumentsOfTheControlCommands) {
    const struct {
        std::vector<std::string> args;
        std::function<void(const json&)> check;
    } cases[] = {
        {{"--json", "files", "list"},
         [](const json& d) {
             ASSERT_TRUE(d.is_array());
             ASSERT_EQ(3u, d.size());
             for (const auto& f : d) {
                 EXPECT_EQ(12u, f["id"].get<std::string>().size());
                 EXPECT_EQ("cam-1", f["camera"]);
                 EXPECT_EQ(1, f["recordType"]);
                 EXPECT_GT(f["size"].get<int64_t>(), 0);
             }
         }},
        {{"--json", "files", "list", "--record-type", "2"},
         [](const json& d) { EXPECT_EQ(json::array(), d); }},
        {{"--json", "camera", "add", "--name", "Gate"},
         [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "policy", "add", "--task", "2026-01-01 08:00/2026-01-01 09:00", "--task",
          "2026-01-02 08:00/2026-01-02 09:00"},
         [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "policy", "query"},
         [](const json& d) {
             ASSERT_EQ(1u, d.size());
             EXPECT_EQ(2u, d[0]["tasks"].size());
             EXPECT_EQ("2026-01-01 08:00:00", d[0]["tasks"][0]["start"]);
         }},
        {{"--json", "task", "query"}, [](const json& d) { EXPECT_EQ(2u, d.size()); }},
        {{"--json", "policy", "delete-all"}, [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "policy", "query"}, [](const json& d) { EXPECT_EQ(json::array(), d); }},
        {{"--json", "alarm", "raise", "--type", "door", "--max-record", "10"},
         [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "alarm", "clear"}, [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "record", "start", "--max-record", "10"},
         [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "record", "stop"}, [](const json& d) { EXPECT_EQ(true, d["ok"]); }},
        {{"--json", "files", "list", "--record-type", "3"},
         [](const json& d) { EXPECT_EQ(1u, d.size()); }},
    };
    for (const auto& c : cases) {
        const Outcome r = Ctl(c.args);
        SCOPED_TRACE(c.args.back() + ": " + r.out + r.err);
        ASSERT_EQ(0, r.status);
        c.check(r.doc());
    }
}

TEST_F(KerrowctlTest, TransfersReportTheirBytesWithoutAProgressBarOffATerminal) {
    const json files = Ctl({"--json", "files", "list"}).doc();
    ASSERT_FALSE(files.empty());
    const std::string id = files[0]["id"];
    const int64_t size = files[0]["size"];

    Outcome r = Ctl({"--json", "download", id, "-o", Path("d.y4m")});
    ASSERT_EQ(0, r.status) << r.out << r.err;
    EXPECT_EQ(size, r.doc()["bytes"]);
    EXPECT_EQ("", r.err) << "stderr is not a terminal: no progress bar";

    r = Ctl({"play", id, "-o", "-"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, r.out.rfind("YUV4MPEG2", 0)) << "the stream starts with its header";
    EXPECT_EQ(std::string::npos, r.err.find('\r'));

    r = Ctl({"--json", "upload", Path("d.y4m"), "--label", "cam-1"});
    ASSERT_EQ(0, r.status) << r.out << r.err;
    EXPECT_EQ(size, r.doc()["bytes"]);
    EXPECT_EQ("", r.err);

    r = Ctl({"--json", "backup", id});
    ASSERT_EQ(0, r.status) << r.out << r.err;
    EXPECT_EQ("", r.err);
}

TEST_F(KerrowctlTest, ExitStatusNamesTheKindOfFailure) {
    const json files = Ctl({"--json", "files", "list"}).doc();
    ASSERT_FALSE(files.empty());
    const std::string id = files[0]["id"];
    ASSERT_EQ(0, Ctl({"files", "protect", id}).status);
    const struct {
        const char* name;
        std::vector<std::string> args;
        int status;
        int code;  // 0: a failure without a result code
    } cases[] = {
        {"unreachable server",
         {"--server", "127.0.0.1:1", "--camera", "cam-1", "--json", "files", "list"},
         3,
         3},
        {"refused deletion",
         {"--server", "127.0.0.1:" + std::to_string(sim_->Port()), "--camera", "cam-1", "--json",
          "files", "delete", id},
         4,
         206},
        {"unknown option", {"--json", "--bogus", "files", "list"}, 2, 0},
        {"missing --camera", {"--json", "files", "list"}, 2, 0},
        {"bad time", {"--camera", "cam-1", "--json", "files", "list", "--from", "yesterday"}, 2, 0},
        {"no subcommand", {"--json"}, 2, 0},
    };
    for (const auto& c : cases) {
        const Outcome r = Raw(c.args);
        SCOPED_TRACE(c.name + (": " + r.out + r.err));
        EXPECT_EQ(c.status, r.status);
        const json doc = r.doc();
        EXPECT_EQ(false, doc["ok"]);
        EXPECT_EQ(c.status, doc["error"]["status"]);
        if (c.code != 0) {
            EXPECT_EQ(c.code, doc["error"]["code"]);
            EXPECT_EQ(message(c.code), doc["error"]["meaning"]);
        }
    }
    // Without --json the message names the code and its meaning on stderr.
    const Outcome r = Ctl({"files", "delete", id});
    EXPECT_EQ(4, r.status);
    EXPECT_NE(std::string::npos, r.err.find("result 206 (deleting the file failed)")) << r.err;
}

TEST_F(KerrowctlTest, EverySubcommandHasHelp) {
    const std::vector<std::vector<std::string>> commands = {{"camera", "add"},
                                                            {"camera", "modify"},
                                                            {"camera", "delete"},
                                                            {"policy", "add"},
                                                            {"policy", "modify"},
                                                            {"policy", "delete"},
                                                            {"policy", "delete-all"},
                                                            {"policy", "query"},
                                                            {"task", "add"},
                                                            {"task", "modify"},
                                                            {"task", "delete"},
                                                            {"task", "query"},
                                                            {"alarm", "raise"},
                                                            {"alarm", "clear"},
                                                            {"record", "start"},
                                                            {"record", "stop"},
                                                            {"files", "list"},
                                                            {"files", "delete"},
                                                            {"files", "protect"},
                                                            {"files", "unprotect"},
                                                            {"play"},
                                                            {"download"},
                                                            {"upload"},
                                                            {"backup"},
                                                            {"demo"}};
    for (auto args : commands) {
        args.push_back("--help");
        const Outcome r = Raw(args);
        EXPECT_EQ(0, r.status) << args[0];
        EXPECT_NE(std::string::npos, r.out.find("Usage:")) << args[0];
    }
}

}  // namespace
}  // namespace kerrow::test
