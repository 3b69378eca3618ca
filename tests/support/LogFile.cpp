#include "support/LogFile.h"

#include <fstream>
#include <sstream>

namespace kerrow::test {

std::string LogPath() { return "./log/PellamKerrowSDK.log"; }

std::string ReadLog() {
    std::ifstream in(LogPath(), std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::vector<std::string> LogMessages() {
    std::vector<std::string> messages;
    std::istringstream in(ReadLog());
    std::string line;
    while (std::getline(in, line)) {
        for (const char* marker : {"] INFO - ", "] ERROR - "}) {
            size_t at = line.find(marker);
            if (at != std::string::npos) {
                messages.push_back(line.substr(at + std::string(marker).size()));
                break;
            }
        }
    }
    return messages;
}

bool LogHasMessage(const std::string& text) {
    for (const std::string& message : LogMessages()) {
        if (message == text) return true;
    }
    return false;
}

bool LogContains(const std::string& text) { return ReadLog().find(text) != std::string::npos; }

}  // namespace kerrow::test
