// The generated media and the seed: real YUV4MPEG2 whose catalogue entries
// match the stored bytes.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

#include "StoreFixture.h"
#include "TestPattern.h"

namespace kerrow::sim::test {
namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Checks the stream as a player reads it: the header's parameters, then
// frames each introduced by "FRAME\n"; returns the number of frames.
int CheckY4m(const std::string& bytes) {
    size_t eol = bytes.find('\n');
    EXPECT_NE(eol, std::string::npos);
    std::istringstream header(bytes.substr(0, eol));
    std::string word, params;
    header >> word;
    EXPECT_EQ(word, "YUV4MPEG2");
    int width = 0, height = 0;
    while (header >> word) {
        if (word[0] == 'W') width = std::stoi(word.substr(1));
        if (word[0] == 'H') height = std::stoi(word.substr(1));
        params += word + " ";
    }
    EXPECT_EQ(params, "W160 H120 F5:1 Ip A1:1 C420jpeg ");
    const size_t frameBytes = 6 + size_t(width) * height * 3 / 2;
    size_t pos = eol + 1;
    int frames = 0;
    while (pos < bytes.size()) {
        EXPECT_EQ(bytes.compare(pos, 6, "FRAME\n"), 0) << "frame " << frames;
        pos += frameBytes;
        ++frames;
    }
    EXPECT_EQ(pos, bytes.size()) << "the last frame is cut short";
    return frames;
}

TEST(SimPatternTest, FramesShowTheLabelAndTheMovingBar) {
    std::vector<uint8_t> a(PatternFrameBytes() - 6), b(a.size()), c(a.size());
    DrawPatternFrame("cam-1", 0, a.data());
    DrawPatternFrame("cam-2", 0, b.data());
    DrawPatternFrame("cam-1", 1, c.data());
    EXPECT_NE(a, b) << "the label is not drawn";
    EXPECT_NE(a, c) << "nothing moves";
    // Only the label band differs between labels; the bar region between
    // frames (the clock changes once a second, not between frames 0 and 1).
    const int bandEnd = 4 + 18;
    for (size_t i = size_t(bandEnd) * kPatternWidth; i < size_t(kPatternWidth) * kPatternHeight;
         ++i) {
        ASSERT_EQ(a[i], b[i]) << "pixel " << i << " outside the label band";
    }
    std::string error;
    ASSERT_TRUE(WritePattern("p.y4m", "cam-1", 3, &error)) << error;
    const std::string bytes = ReadAll("p.y4m");
    EXPECT_EQ(CheckY4m(bytes), 3 * kPatternFps);
    EXPECT_EQ(bytes.size(), PatternBytes(3));
    EXPECT_EQ(bytes.compare(PatternHeader().size() + 6, a.size(), std::string(a.begin(), a.end())),
              0);
}

TEST_F(SimStoreTest, SeedStoresThreeWatchableRecordingsPerCameraOnAnEmptyStoreOnly) {
    ASSERT_EQ(store_->Seed(now_), kStoreOk);
    std::vector<FileEntry> files;
    ASSERT_EQ(store_->ListFiles(FileQuery{"", 0, "", "", ""}, &files), kStoreOk);
    ASSERT_EQ(files.size(), 9u);
    std::map<std::string, int> perCamera;
    for (const FileEntry& f : files) {
        SCOPED_TRACE(f.fileId);
        ++perCamera[f.cameraGuid];
        EXPECT_EQ(f.recordType, kRecordScheduled);
        EXPECT_EQ(f.filePermission, kFileDeletable);
        const int64_t start = Wall(f.startTime.c_str());
        const int64_t end = Wall(f.endTime.c_str());
        EXPECT_GE(start, now_ - 3600);
        EXPECT_LE(end, now_);
        StoredFile stored;
        ASSERT_EQ(store_->FindFile(f.fileId, f.recordType, &stored), kStoreOk);
        const std::string bytes = ReadAll(stored.path);
        EXPECT_EQ(bytes.size(), f.fileSize);
        EXPECT_EQ(CheckY4m(bytes), (end - start) * kPatternFps);
        EXPECT_EQ(end - start, 10);
    }
    EXPECT_EQ(perCamera, (std::map<std::string, int>{{"cam-1", 3}, {"cam-2", 3}, {"cam-3", 3}}));
    EXPECT_EQ(store_->Cameras().size(), 3u);
    EXPECT_EQ(store_->Seed(now_), kStoreNotEmpty);
    EXPECT_EQ(store_->ListFiles(FileQuery{"", 0, "", "", ""}, &files), kStoreOk);
    EXPECT_EQ(files.size(), 18u) << "a second seed added files";
}

}  // namespace
}  // namespace kerrow::sim::test
