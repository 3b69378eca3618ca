// Result codes of the KerrowSDK exports as C++ errors: kerrow::message names
// what a code means, kerrow::Error carries the code of a failed call.
#pragma once

#include <stdexcept>
#include <string>

namespace kerrow {

// What a result code of the exports means; "unknown result code" for a
// value that no export answers.
inline const char* message(int code) {
    switch (code) {
        case -1:
            return "processor fault during initialisation, or no connection";
        case 0:
            return "success";
        case 1:
            return "library not initialised (or initialised twice)";
        case 2:
            return "connection limit of 200 reached";
        case 3:
            return "server unreachable";
        case 7:
            return "bad argument or unknown connection";
        case 8:
            return "connection not connected";
        case 11:
            return "no reply in time";
        case 12:
            return "request not sent or network broken";
        case 13:
            return "client not created";
        case 15:
            return "transfer thread not created";
        case 16:
            return "local file not opened";
        case 18:
            return "reply too long, too short or not XML";
        case 99:
            return "camera operation failed";
        case 100:
            return "adding the record policy failed";
        case 101:
            return "policy query failed";
        case 102:
            return "task query failed";
        case 103:
            return "changing the policy status failed";
        case 104:
            return "deleting the policy failed";
        case 105:
            return "changing the task failed";
        case 106:
            return "deleting the task failed";
        case 107:
            return "adding the task failed";
        case 108:
            return "stopping manual recording failed";
        case 109:
            return "raising the alarm failed";
        case 111:
            return "clearing the alarm failed";
        case 200:
            return "playback start refused";
        case 204:
            return "changing the file permission failed";
        case 205:
            return "backup start refused";
        case 206:
            return "deleting the file failed";
        case 300:
            return "file list query failed";
        case 350:
            return "download start refused";
        case 400:
            return "upload start refused";
        default:
            return "unknown result code";
    }
}

// A failed call: the result code, the operation that failed and what the
// code means. what() reads "<operation>: result <code> (<meaning>)".
class Error : public std::runtime_error {
  public:
    Error(int code, const std::string& operation)
        : std::runtime_error(operation + ": result " + std::to_string(code) + " (" + message(code) +
                             ")"),
          code_(code),
          operation_(operation) {}

    int code() const noexcept { return code_; }
    const std::string& operation() const noexcept { return operation_; }
    const char* meaning() const noexcept { return message(code_); }

  private:
    int code_;
    std::string operation_;
};

// Throws an Error unless the code is 0.
inline void check(int code, const char* operation) {
    if (code != 0) throw Error(code, operation);
}

}  // namespace kerrow
