// play, download, upload, backup: transfers, each on a connection of its own,
// followed to their end with a progress bar on a terminal.
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <iostream>

#include "Progress.h"

namespace kerrowctl {

namespace {

struct TransferArgs {
    std::string id;  // a 12-digit file id, or empty for a time span
    std::string from, to;
    int recordType = 1;
    std::string output;
    int jump = -1;
    float speed = 0;
    kerrow::UploadInfo upload;
    std::string uploadFrom, uploadTo;
};

void addSource(CLI::App* cmd, TransferArgs& a) {
    cmd->add_option("FILE", a.id, "12-digit file id (or give --from and --to)");
    cmd->add_option("--from", a.from, "span start (YYYY-MM-DD HH:MM[:SS], now, -1h)");
    cmd->add_option("--to", a.to, "span end");
    cmd->add_option("--record-type", a.recordType, "record type of a span")->capture_default_str();
}

void checkSource(const TransferArgs& a) {
    if (a.id.empty() == (a.from.empty() || a.to.empty())) {
        throw Usage("give either a file id or both --from and --to");
    }
}

// The summary goes to stderr when stdout carries the stream.
void summary(Context& ctx, const json& doc, const std::string& line, bool toStderr) {
    if (!toStderr) {
        ctx.print(doc, [&] { std::cout << line << "\n"; });
    } else {
        std::cerr << (ctx.g.json ? doc.dump(2) : line) << "\n";
    }
}

void play(Context& ctx, const TransferArgs& a) {
    checkSource(a);
    const bool toStdout = a.output == "-";
    std::FILE* out = toStdout ? stdout : std::fopen(a.output.c_str(), "wb");
    if (out == nullptr) throw Failure(kLocalFile, "cannot write " + a.output);
    std::atomic<int64_t> bytes{0};
    int percent = 0;
    kerrow::TransferCallbacks cb;
    cb.data = [&](uint32_t, const uint8_t* data, size_t n) {
        std::fwrite(data, 1, n, out);
        bytes += static_cast<int64_t>(n);
    };
    cb.progress = [&](int p) { percent = p; };
    kerrow::Connection conn = ctx.connect();
    kerrow::Playback p = a.id.empty() ? conn.play(static_cast<uint16_t>(a.recordType),
                                                  parseTime(a.from), parseTime(a.to), cb)
                                      : conn.play(a.id, cb);
    if (a.jump >= 0) p.jump(static_cast<uint16_t>(a.jump));
    if (a.speed > 1) p.fast(a.speed);
    if (a.speed > 0 && a.speed < 1) p.slow(a.speed);
    ProgressBar bar("play");
    follow(
        p, bar, percent, [&] { return bytes.load(); }, ctx.g.stallSeconds);
    p.stop();
    std::fflush(out);
    if (!toStdout) std::fclose(out);
    summary(ctx, json{{"ok", true}, {"bytes", bytes.load()}, {"output", a.output}},
            "played " + std::to_string(bytes.load()) + " bytes to " + a.output, toStdout);
}

void download(Context& ctx, const TransferArgs& a) {
    checkSource(a);
    if (a.output.empty() || a.output == "-") throw Usage("download needs -o FILE");
    int percent = 0;
    kerrow::TransferCallbacks cb;
    cb.progress = [&](int p) { percent = p; };
    kerrow::Connection conn = ctx.connect();
    kerrow::Download d;
    try {
        d = a.id.empty() ? conn.download(static_cast<uint16_t>(a.recordType), parseTime(a.from),
                                         parseTime(a.to), a.output, cb)
                         : conn.download(a.id, a.output, cb);
    } catch (const kerrow::Error&) {
        struct stat st {};
        if (::stat(a.output.c_str(), &st) == 0 && st.st_size == 0) std::remove(a.output.c_str());
        throw;
    }
    ProgressBar bar("download");
    follow(
        d, bar, percent, [&] { return d.bytes(); }, ctx.g.stallSeconds);
    d.stop();  // closes the file
    const int64_t bytes = d.bytes();
    if (bytes == 0) throw Failure(kIncomplete, "download ended with no bytes");
    ctx.print(json{{"ok", true}, {"bytes", bytes}, {"output", a.output}},
              [&] { std::cout << "downloaded " << bytes << " bytes to " << a.output << "\n"; });
}

void upload(Context& ctx, TransferArgs& a) {
    struct stat st {};
    if (::stat(a.upload.path.c_str(), &st) != 0)
        throw Failure(kLocalFile, "cannot read " + a.upload.path);
    a.upload.start =
        a.uploadFrom.empty() ? std::chrono::system_clock::now() : parseTime(a.uploadFrom);
    a.upload.end = a.uploadTo.empty() ? a.upload.start : parseTime(a.uploadTo);
    int percent = 0;
    kerrow::TransferCallbacks cb;
    cb.progress = [&](int p) { percent = p; };
    kerrow::Connection conn = ctx.connect();
    kerrow::Upload u = conn.upload(a.upload, cb);
    ProgressBar bar("upload");
    const int64_t total = static_cast<int64_t>(st.st_size);
    follow(
        u, bar, percent, [&] { return total * percent / 100; }, ctx.g.stallSeconds);
    if (u.state() == kerrow::TransferState::EndedShort) {
        throw Failure(kIncomplete, "upload ended short: the file changed while it was sent");
    }
    ctx.print(json{{"ok", true}, {"bytes", total}, {"file", a.upload.path}},
              [&] { std::cout << "uploaded " << total << " bytes of " << a.upload.path << "\n"; });
}

void backup(Context& ctx, const TransferArgs& a) {
    int percent = 0;
    kerrow::TransferCallbacks cb;
    cb.progress = [&](int p) { percent = p; };
    kerrow::Connection conn = ctx.connect();
    kerrow::Backup b = conn.backup(a.id, cb);
    ProgressBar bar("backup");
    follow(
        b, bar, percent, [&] { return static_cast<int64_t>(percent); }, ctx.g.stallSeconds);
    ctx.done("file " + a.id + " backed up");
}

}  // namespace

void addTransferCommands(CLI::App& app, Context& ctx, Action& action) {
    static TransferArgs a;
    auto* p = app.add_subcommand("play", "stream a recording to a file or to stdout");
    addSource(p, a);
    p->add_option("-o,--output", a.output, "where the stream goes; - is stdout")->required();
    p->add_option("--jump", a.jump, "position to jump to once playing");
    p->add_option("--speed", a.speed, "play faster (above 1) or slower (below 1)");
    p->callback([&] { action = [&] { play(ctx, a); }; });

    auto* d = app.add_subcommand("download", "save a recording to a local file");
    addSource(d, a);
    d->add_option("-o,--output", a.output, "local file")->required();
    d->callback([&] { action = [&] { download(ctx, a); }; });

    auto* u = app.add_subcommand("upload", "store a local video file on the server");
    auto& info = a.upload;
    u->add_option("PATH", info.path, "local file")->required();
    u->add_option("--media-type", info.mediaType, "media type");
    u->add_option("--encoder-type", info.encoderType, "encoder type");
    u->add_option("--from", a.uploadFrom, "recording start (default: now)");
    u->add_option("--to", a.uploadTo, "recording end (default: the start)");
    u->add_option("--operator", info.operatorId, "operator id");
    u->add_option("--desc", info.description, "file description");
    u->add_option("--uploader", info.uploader, "uploader");
    u->add_option("--label", info.label, "label");
    u->add_option("--control-center", info.controlCenter, "control centre");
    u->callback([&] { action = [&] { upload(ctx, a); }; });

    auto* b = app.add_subcommand("backup", "have the server back a recording up");
    b->add_option("FILE", a.id, "12-digit file id")->required();
    b->callback([&] { action = [&] { backup(ctx, a); }; });
}

}  // namespace kerrowctl
