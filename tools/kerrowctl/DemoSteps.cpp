// The steps of kerrowctl demo, capability by capability.
#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <iterator>
#include <mutex>
#include <thread>

#include "Demo.h"

namespace kerrowctl::demo {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
constexpr milliseconds kTransferLimit{20000};

kerrow::Time today(int hour, int minute) {
    const auto now = std::chrono::system_clock::now();
    TransferTime t = kerrow::toTransferTime(now);
    t.hour = static_cast<int16_t>(hour);
    t.minute = static_cast<int16_t>(minute);
    t.second = 0;
    return kerrow::fromTransferTime(t);
}

kerrow::Policy schedule(std::initializer_list<std::pair<int, int>> hours) {
    kerrow::Policy p;
    p.recordType = 1;
    p.cronType = 1;
    for (auto [from, to] : hours) {
        kerrow::Task t;
        t.start = today(from, 0);
        t.end = today(to, 0);
        t.daysOfWeek = 0x1F;
        p.tasks.push_back(t);
    }
    return p;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A small valid YUV4MPEG2 clip: 25 grey frames of 64x48.
std::string writeClip(const std::string& path) {
    std::string clip = "YUV4MPEG2 W64 H48 F25:1 Ip A1:1 C420jpeg\n";
    for (int i = 0; i < 25; ++i) {
        clip += "FRAME\n";
        clip += std::string(64 * 48, static_cast<char>(16 + i * 8));
        clip += std::string(64 * 48 / 2, static_cast<char>(128));
    }
    std::ofstream(path, std::ios::binary) << clip;
    return clip;
}

std::string ms(std::chrono::steady_clock::duration d) {
    return std::to_string(std::chrono::duration_cast<milliseconds>(d).count()) + " ms";
}

}  // namespace

void cameraSteps(Runner& run, World& w) {
    run.step("camera add", [&] {
        w.connect("cam-demo").addCamera();
        return "cam-demo registered";
    });
    run.step("camera modify", [&] {
        kerrow::ConnectionSettings s = w.settings("cam-demo");
        s.cameraName = "Demo gate";
        s.cameraDesc = "north entrance";
        kerrow::Connection(w.library, s).modifyCamera();
        return "cam-demo renamed 'Demo gate'";
    });
}

void policySteps(Runner& run, World& w) {
    kerrow::Connection conn = w.connect("cam-demo");
    uint32_t policy = 0;
    run.step("policy add", [&] {
        conn.addPolicy(schedule({{8, 12}, {13, 18}}));
        const auto found = conn.policies();
        expect(found.size() == 1, "expected 1 policy, found " + std::to_string(found.size()));
        expect(found[0].tasks.size() == 2, "expected 2 tasks in the policy");
        policy = found[0].id;
        return "policy " + std::to_string(policy) + " with tasks 08:00-12:00, 13:00-18:00";
    });
    run.step("task add, modify, delete", [&] {
        kerrow::Task t;
        t.start = today(19, 0);
        t.end = today(20, 0);
        conn.addTask(policy, t);
        auto tasks = conn.tasks();
        expect(tasks.size() == 3, "expected 3 tasks, found " + std::to_string(tasks.size()));
        t.id = std::max_element(tasks.begin(), tasks.end(), [](auto& a, auto& b) {
                   return a.id < b.id;
               })->id;
        t.end = today(21, 30);
        conn.modifyTask(policy, t);
        tasks = conn.tasks();
        const bool moved = std::any_of(tasks.begin(), tasks.end(), [&](auto& x) {
            return x.id == t.id && kerrow::formatTime(x.end) == kerrow::formatTime(t.end);
        });
        expect(moved, "the modified task does not end at 21:30");
        conn.deleteTask(policy, t.id);
        expect(conn.tasks().size() == 2, "the deleted task is still there");
        return "task " + std::to_string(t.id) + " added, moved to 21:30, deleted";
    });
    run.step("policy modify status", [&] {
        conn.modifyPolicy(policy, 1);
        const auto found = conn.policies();
        expect(!found.empty() && found[0].status == 1, "the policy status is not 1");
        return "policy " + std::to_string(policy) + " status 1";
    });
    run.step("policy delete, delete-all", [&] {
        conn.deletePolicy(policy);
        expect(conn.policies().empty(), "the deleted policy is still listed");
        conn.addPolicy(schedule({{1, 2}}));
        conn.addPolicy(schedule({{3, 4}}));
        expect(conn.policies().size() == 2, "expected 2 new policies");
        conn.deleteAllPolicies();
        expect(conn.policies().empty(), "policies left after delete-all");
        return "1 deleted, then 2 added and deleted at once";
    });
    run.step("camera delete", [&] {
        conn.deleteCamera();
        return "cam-demo removed";
    });
}

void alarmSteps(Runner& run, World& w) {
    kerrow::Connection conn = w.connect("cam-1");
    run.step("alarm raise", [&] {
        conn.raiseAlarm(kerrow::Alarm{"motion", std::chrono::system_clock::now(), 30});
        const auto tasks = conn.tasks(2);
        const bool recording =
            std::any_of(tasks.begin(), tasks.end(), [](auto& t) { return t.status == 1; });
        expect(recording, "no alarm recording runs");
        return "'motion' on cam-1: the server records";
    });
    run.step("alarm clear", [&] {
        conn.clearAlarm();
        const auto files = conn.files(2, allFrom(), allTo());
        expect(!files.empty(), "no alarm recording in the catalogue");
        return "alarm recording stored as " + files.back().id + " (" +
               std::to_string(files.back().size) + " bytes)";
    });
    run.step("manual recording start, stop", [&] {
        conn.startRecording(30);
        conn.stopRecording();
        const auto files = conn.files(3, allFrom(), allTo());
        expect(!files.empty(), "no manual recording in the catalogue");
        return "stored as " + files.back().id + " (" + std::to_string(files.back().size) +
               " bytes)";
    });
}

void catalogueSteps(Runner& run, World& w) {
    kerrow::Connection conn = w.connect("cam-1");
    std::vector<kerrow::FileInfo> files;
    run.step("files list", [&] {
        files = conn.files(1, allFrom(), allTo());
        expect(files.size() >= 3, "expected the 3 seeded recordings");
        w.recording = files[0];
        return std::to_string(files.size()) + " recordings of cam-1, first " + files[0].id + " (" +
               std::to_string(files[0].size) + " bytes)";
    });
    run.step("files protect: delete refused", [&] {
        expect(files.size() >= 3, "no recording to protect");
        conn.setFilePermission(files[2].id, 1);
        return files[2].id + ": " + expectCode(206, [&] { conn.deleteFile(files[2].id); });
    });
    run.step("files unprotect, delete", [&] {
        expect(files.size() >= 3, "no recording to delete");
        conn.setFilePermission(files[2].id, 0);
        conn.deleteFile(files[2].id);
        const auto left = conn.files(1, allFrom(), allTo());
        expect(left.size() + 1 == files.size(), "the deleted file is still listed");
        return files[2].id + " deleted, " + std::to_string(left.size()) + " left";
    });
}

void playSteps(Runner& run, World& w) {
    std::mutex mutex;
    std::condition_variable cv;
    int64_t bytes = 0;
    kerrow::TransferCallbacks cb;
    cb.data = [&](uint32_t, const uint8_t*, size_t n) {
        std::lock_guard<std::mutex> lock(mutex);
        bytes += static_cast<int64_t>(n);
        cv.notify_all();
    };
    auto received = [&] {
        std::lock_guard<std::mutex> lock(mutex);
        return bytes;
    };
    auto awaitMore = [&](int64_t than) {
        std::unique_lock<std::mutex> lock(mutex);
        return cv.wait_for(lock, seconds(5), [&] { return bytes > than; });
    };
    kerrow::Connection conn = w.connect("cam-1");
    kerrow::Playback p;
    const auto started = std::chrono::steady_clock::now();
    run.step("play start", [&] {
        p = conn.play(w.recording.id, cb);
        expect(awaitMore(0), "no media within 5 s");
        return w.recording.id + ": first media after " +
               ms(std::chrono::steady_clock::now() - started);
    });
    run.step("play pause, resume", [&] {
        p.pause();
        const int at = p.position();
        p.resume();
        expect(awaitMore(received()), "no media after resume");
        return "paused at " + std::to_string(at) + "%, media flows again";
    });
    run.step("play jump", [&] {
        p.jump(50);
        expect(awaitMore(received()), "no media after the jump");
        return "jumped to 50";
    });
    run.step("play to the end", [&] {
        expect(p.wait(kTransferLimit), "no end within 20 s");
        expect(p.state() == kerrow::TransferState::Finished, "the playback did not finish");
        return std::to_string(received()) + " bytes of media";
    });
}

void transferSteps(Runner& run, World& w) {
    const std::string path = w.dir + "/" + w.recording.id + ".y4m";
    run.step("download by file id", [&] {
        kerrow::Connection conn = w.connect("cam-1");
        kerrow::Download d = conn.download(w.recording.id, path);
        expect(d.wait(kTransferLimit), "no end within 20 s");
        d.stop();
        expect(d.bytes() == w.recording.size, std::to_string(d.bytes()) +
                                                  " bytes, the catalogue says " +
                                                  std::to_string(w.recording.size));
        return std::to_string(d.bytes()) + " bytes, as the catalogue says";
    });
    run.step("download by time span", [&] {
        kerrow::Connection conn = w.connect("cam-1");
        kerrow::Download d = conn.download(1, w.recording.start, w.recording.end, path + ".span");
        expect(d.wait(kTransferLimit), "no end within 20 s");
        d.stop();
        expect(d.bytes() > 0, "no bytes");
        return std::to_string(d.bytes()) + " bytes of " + kerrow::formatTime(w.recording.start) +
               " .. " + kerrow::formatTime(w.recording.end);
    });
    const std::string clipPath = w.dir + "/clip.y4m";
    std::string clip;
    run.step("upload", [&] {
        clip = writeClip(clipPath);
        kerrow::UploadInfo info;
        info.path = clipPath;
        info.start = std::chrono::system_clock::now() - seconds(1);
        info.end = std::chrono::system_clock::now();
        info.label = "cam-1";
        info.description = "demo clip";
        kerrow::Connection conn = w.connect("cam-1");
        kerrow::Upload u = conn.upload(info);
        expect(u.wait(kTransferLimit), "no end within 20 s");
        expect(u.state() == kerrow::TransferState::Finished, "the upload ended short");
        return std::to_string(clip.size()) + " bytes sent";
    });
    run.step("download the upload back", [&] {
        kerrow::Connection conn = w.connect("cam-1");
        // The server files the upload when the library's last notice arrives.
        std::vector<kerrow::FileInfo> uploads;
        const auto deadline = std::chrono::steady_clock::now() + seconds(3);
        while ((uploads = conn.files(4, allFrom(), allTo())).empty() &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(milliseconds(20));
        }
        expect(!uploads.empty(), "the upload is not in the catalogue");
        const std::string back = w.dir + "/back.y4m";
        kerrow::Download d = conn.download(uploads.back().id, back);
        expect(d.wait(kTransferLimit), "no end within 20 s");
        d.stop();
        expect(readFile(back) == clip, "the bytes differ from the uploaded clip");
        return uploads.back().id + ": the same " + std::to_string(clip.size()) + " bytes";
    });
    run.step("backup", [&] {
        kerrow::Connection conn = w.connect("cam-1");
        int last = -1;
        kerrow::TransferCallbacks cb;
        cb.progress = [&](int p) { last = p; };
        kerrow::Backup b = conn.backup(w.recording.id, cb);
        expect(b.wait(kTransferLimit), "no end within 20 s");
        expect(b.state() == kerrow::TransferState::Finished, "the backup did not finish");
        return w.recording.id + " backed up, progress " + std::to_string(last) + "%";
    });
}

void faultSteps(Runner& run, World& w) {
    auto faults = [&](const std::string& rules) {
        std::string error;
        if (!w.sim.SetFaults(rules, &error)) fail("fault rules refused: " + error);
    };
    run.step("fault: camera add answered Code 5", [&] {
        faults(R"([{"method": 100, "action": "code", "code": 5}])");
        return expectCode(99, [&] { w.connect("cam-1").addCamera(); });
    });
    run.step("fault: file list reply not XML", [&] {
        faults(R"([{"method": 600, "action": "not_xml"}])");
        return expectCode(300, [&] { w.connect("cam-1").files(1, allFrom(), allTo()); });
    });
    run.step("fault: download start refused", [&] {
        faults(R"([{"method": 510, "action": "code", "code": 5}])");
        const std::string path = w.dir + "/refused.y4m";
        return expectCode(350, [&] { w.connect("cam-1").download(w.recording.id, path); });
    });
    run.step("fault: download cut midway", [&] {
        faults(R"([{"method": 510, "action": "cut", "after_bytes": 4096}])");
        kerrow::Connection conn = w.connect("cam-1");
        kerrow::Download d = conn.download(w.recording.id, w.dir + "/cut.y4m");
        expect(!d.wait(milliseconds(1500)), "the cut download reported an end");
        d.stop();
        expect(d.bytes() < w.recording.size, "the cut download is complete");
        return "no end notice; " + std::to_string(d.bytes()) + " of " +
               std::to_string(w.recording.size) + " bytes";
    });
    run.step("fault: alarm never answered", [&] {
        faults(R"([{"method": 109, "action": "no_reply"}])");
        return expectCode(11, [&] { w.connect("cam-1").raiseAlarm(kerrow::Alarm{"smoke"}); });
    });
    run.step("faults cleared", [&] {
        faults("[]");
        w.connect("cam-1").addCamera();
        return "camera add succeeds again";
    });
}

}  // namespace kerrowctl::demo
