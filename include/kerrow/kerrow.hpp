// KerrowSDK for C++: a header-only layer over the flat Kerrow_* exports.
//
//   kerrow::Library library;                       // Kerrow_Init ... Kerrow_Release
//   kerrow::ConnectionSettings settings;
//   settings.port = 7000;
//   settings.cameraId = "cam-1";
//   kerrow::Connection conn(library, settings);    // Kerrow_Connect ... Kerrow_Disconnect
//   for (const kerrow::FileInfo& f : conn.files(1, from, to)) { ... }
//
//   kerrow::Connection transfer(library, settings);  // one connection per transfer
//   kerrow::Download d = transfer.download(id, "out.y4m");
//   d.wait();                                        // destroying d stops it
//
// Failures throw kerrow::Error with the result code; kerrow::message(code)
// names what a code means.
#pragma once

#include "kerrow/connection.hpp"
#include "kerrow/error.hpp"
#include "kerrow/records.hpp"
#include "kerrow/transfer.hpp"
