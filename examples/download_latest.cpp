// Lists a camera's recordings of the last day and downloads the latest one,
// through the C++ layer of KerrowSDK.
//
//   download_latest 127.0.0.1 7000 cam-1 latest.y4m
#include <chrono>
#include <cstdlib>
#include <iostream>

#include "kerrow/kerrow.hpp"

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: download_latest SERVER PORT CAMERA FILE\n";
        return 2;
    }
    try {
        kerrow::Library library;  // Kerrow_Init now, Kerrow_Release at the end
        kerrow::ConnectionSettings settings;
        settings.server = argv[1];
        settings.port = std::atoi(argv[2]);
        settings.cameraId = argv[3];

        const auto now = std::chrono::system_clock::now();
        kerrow::Connection conn(library, settings);
        const std::vector<kerrow::FileInfo> files =
            conn.files(1, now - std::chrono::hours(24), now);
        if (files.empty()) {
            std::cerr << "no recordings of " << settings.cameraId << " in the last day\n";
            return 1;
        }
        const kerrow::FileInfo& latest = files.back();
        std::cout << latest.id << " " << kerrow::formatTime(latest.start) << " " << latest.size
                  << " bytes\n";

        // A transfer takes a connection of its own; stopping it closes it.
        kerrow::Connection transfer(library, settings);
        kerrow::TransferCallbacks callbacks;
        callbacks.progress = [](int percent) { std::cout << "\r" << percent << "%" << std::flush; };
        kerrow::Download download = transfer.download(latest.id, argv[4], callbacks);
        download.wait(std::chrono::seconds(60));
        download.stop();  // closes the file (the destructor would too)
        std::cout << "\n" << download.bytes() << " bytes in " << argv[4] << "\n";
        return download.bytes() == latest.size ? 0 : 1;
    } catch (const kerrow::Error& e) {
        // e.code() is the result code, e.what() names it and what it means.
        std::cerr << e.what() << "\n";
        return 1;
    }
}
