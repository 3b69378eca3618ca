// Reading back the log file of the test process (./log/PellamKerrowSDK.log in
// the process's own working directory).
#pragma once

#include <string>
#include <vector>

namespace kerrow::test {

std::string LogPath();
// The whole file as bytes; empty when it does not exist.
std::string ReadLog();
// The message part of every line (what follows "<priority> - ").
std::vector<std::string> LogMessages();
// True when some line's message equals text exactly.
bool LogHasMessage(const std::string& text);
// True when some line's message contains text.
bool LogContains(const std::string& text);

}  // namespace kerrow::test
