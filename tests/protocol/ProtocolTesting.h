// Helpers of the protocol tests: expected messages written out as trees, parsed
// replies, and the lines a reader wrote to the log.
#pragma once

#include <tinyxml.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace kerrow::testing {

using Lines = std::vector<std::string>;

inline Lines operator+(Lines a, const Lines& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Writes out a tree given as "Name{child|child}", leaves "Name=text" (the
// text as it travels, escapes included) and "Name{}" for an element without
// children: one element per line, four spaces per level, "<Name />" for an
// empty element, "<Name>text</Name>" for a leaf.
inline void WriteTree(const char*& p, const std::string& pad, std::string& out) {
    while (*p != '\0' && *p != '}') {
        const char* start = p;
        while (*p != '\0' && *p != '{' && *p != '=' && *p != '|' && *p != '}') ++p;
        const std::string name(start, p);
        if (*p == '=') {
            start = ++p;
            while (*p != '\0' && *p != '|' && *p != '}') ++p;
            out += pad + "<" + name + ">" + std::string(start, p) + "</" + name + ">\n";
        } else if (*++p == '}') {
            out += pad + "<" + name + " />\n";
            ++p;
        } else {
            out += pad + "<" + name + ">\n";
            WriteTree(p, pad + "    ", out);
            out += pad + "</" + name + ">\n";
            ++p;
        }
        if (*p == '|') ++p;
    }
}

inline std::string Tree(const std::string& tree) {
    std::string out;
    const char* p = tree.c_str();
    WriteTree(p, "", out);
    return out;
}

// A control message: declaration, head, Method and the Action tree; the
// length digits are the size of the whole text.
inline std::string Golden(int method, const std::string& actionTree) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000000</ContentLength>\n"
        "<ContentType>00</ContentType>\n<Method>" +
        std::to_string(method) + "</Method>\n" + Tree(actionTree);
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08zu", text.size());
    return text.replace(55, 8, digits);
}

// The lines written to ./log/PellamKerrowSDK.log since construction, each
// from its priority on ("INFO -  text").
class LogLines {
  public:
    LogLines() : start_(Read().size()) {}
    Lines Written() const {
        std::istringstream in(Read().substr(start_));
        Lines lines;
        for (std::string line; std::getline(in, line);) {
            const size_t at = line.find("] ");
            lines.push_back(at == std::string::npos ? line : line.substr(at + 2));
        }
        return lines;
    }

  private:
    static std::string Read() {
        std::ifstream file("log/PellamKerrowSDK.log", std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    size_t start_;
};

}  // namespace kerrow::testing
