// Lazy configuration of the rolling log file and the write of one line.
#include "log/Log.h"

#include <atomic>
#include <log4cpp/Category.hh>
#include <log4cpp/RollingFileAppender.hh>

#include "log/LineLayout.h"
#include "platform/Files.h"
#include "platform/Sync.h"

namespace kerrow::log {
namespace {

constexpr size_t kMaxFileSize = 1048576;  // rolled over beyond 1 MiB
constexpr unsigned kBackupFiles = 50;     // .1 to .50
constexpr mode_t kFileMode = 0644;
constexpr int kPriorityNotSet = 800;  // inherit the root category's INFO

// The names and the category live until the process ends: log lines may be
// written by threads that outlive the library's unload.
struct State {
    std::string categoryName = "default";
    std::string filePath = ".\\log\\PellamKerrowSDK.log";
    std::atomic<log4cpp::Category*> category{nullptr};
    platform::CriticalSection configureLock;
};

State*& StatePointer() {
    static State* state = new State();
    return state;
}

State& GetState() { return *StatePointer(); }

// log4cpp pads the backup numbers to the width of the largest one (.01);
// the library's backups are named .1 to .50.
//
// log4cpp asks the file for its size after every line to decide when to roll
// over; here the size is counted as lines are written and asked of the file
// only when the count reaches the limit (and once after opening and after
// each roll-over). Lines that another writer adds to the same file therefore
// move the roll-over to the next line of this one that reaches the limit by
// its own count.
class RollingFile : public log4cpp::RollingFileAppender {
  public:
    RollingFile(const std::string& fileName)
        : log4cpp::RollingFileAppender("default", fileName, kMaxFileSize, kBackupFiles, true,
                                       kFileMode) {
        _maxBackupIndexWidth = 1;
    }

  protected:
    void _append(const log4cpp::LoggingEvent& event) override {
        const std::string line = _getLayout().format(event);
        if (size_ < 0) size_ = platform::OpenFileSize(_fd);
        const int32_t written =
            platform::WriteFile(_fd, line.data(), static_cast<uint32_t>(line.size()));
        if (written > 0 && size_ >= 0) size_ += written;
        if (size_ < 0 || static_cast<size_t>(size_) < _maxFileSize) return;
        size_ = platform::OpenFileSize(_fd);
        if (size_ >= 0 && static_cast<size_t>(size_) >= _maxFileSize) {
            rollOver();
            size_ = -1;
        }
    }

  private:
    // Bytes in the file as counted; -1: ask the file. log4cpp calls _append
    // under the category's lock.
    int64_t size_ = -1;
};

bool IsDirectory(const std::string& path) {
    uint32_t attribute = 0;
    if (!platform::FindFirstAttribute(path, &attribute)) return false;
    return attribute == platform::kAttributeDirectory;
}

// Creates every directory named by a prefix of the path that ends before a
// backslash; a path without any "." that does not end in a backslash is
// itself created as a directory too.
int MakeLogDirectories(const std::string& path) {
    if (path.empty()) return 0;
    for (size_t p = path.find('\\'); p != std::string::npos; p = path.find('\\', p + 1)) {
        platform::MakeDirectory(path.substr(0, p));
    }
    if (path.find('.') == std::string::npos && path.back() != '\\') {
        platform::MakeDirectory(path);
    }
    return 1;
}

int ConfigureLogging(State& state) {
    if (state.category.load(std::memory_order_acquire) != nullptr) return 0;
    if (!IsDirectory(state.filePath) && MakeLogDirectories(state.filePath) == 0) return 0;

    // The lines of log4cpp's PatternLayout with "%d [%t] %p - %m%n", made
    // cheaper (LineLayout.h).
    auto* layout = new LineLayout();
    auto* appender = new RollingFile(platform::NativePath(state.filePath));
    appender->setLayout(layout);

    log4cpp::Category& category = log4cpp::Category::getInstance(state.categoryName);
    category.setAdditivity(false);
    category.setAppender(appender);
    category.setPriority(kPriorityNotSet);
    state.category.store(&category, std::memory_order_release);
    return 1;
}

log4cpp::Category* GetLogger() {
    State& state = GetState();
    log4cpp::Category* category = state.category.load(std::memory_order_acquire);
    if (category == nullptr) {
        // Two threads logging for the first time configure once between them.
        platform::CriticalSectionGuard guard(state.configureLock);
        ConfigureLogging(state);
        category = state.category.load(std::memory_order_acquire);
    }
    return category;
}

}  // namespace

void SetNames(const char* categoryName, const char* filePath) {
    State& state = GetState();
    platform::CriticalSectionGuard guard(state.configureLock);
    state.categoryName = categoryName;
    state.filePath = filePath;
}

std::string FilePath() { return GetState().filePath; }

void Shutdown() {
#if !defined(__SANITIZE_THREAD__)
    // Under ThreadSanitizer log4cpp's registry lock already counts as
    // destroyed when the library is finalised at exit; log4cpp then closes
    // its files through its own cleanup.
    log4cpp::Category::shutdown();
#endif
    delete StatePointer();
    StatePointer() = nullptr;
}

void Write(Priority priority, const std::string& message) {
    if (log4cpp::Category* category = GetLogger()) {
        category->log(static_cast<log4cpp::Priority::Value>(priority), message);
    }
}

}  // namespace kerrow::log
