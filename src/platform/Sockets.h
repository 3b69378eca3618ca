// Socket start and the Windows Sockets error numbers. The socket calls
// themselves are made by the TCP link (src/net); it reports its errors through
// LastSocketError, which numbers them as Windows Sockets does.
#pragma once

#include <cstdint>

namespace kerrow::platform {

constexpr int kSocketError = -1;  // SOCKET_ERROR
constexpr int kWsaEWouldBlock = 10035;
constexpr int kWsaEInProgress = 10036;
constexpr int kWsaEInvalid = 10022;
constexpr int kWsaENotSock = 10038;
constexpr int kWsaEMsgSize = 10040;
constexpr int kWsaEAddrInUse = 10048;
constexpr int kWsaEAddrNotAvail = 10049;
constexpr int kWsaENetDown = 10050;
constexpr int kWsaENetUnreach = 10051;
constexpr int kWsaEConnAborted = 10053;
constexpr int kWsaEConnReset = 10054;
constexpr int kWsaENoBufs = 10055;
constexpr int kWsaENotConn = 10057;
constexpr int kWsaEShutdown = 10058;
constexpr int kWsaETimedOut = 10060;
constexpr int kWsaEConnRefused = 10061;
constexpr int kWsaEHostUnreach = 10065;

// WSAStartup asking for version 2.2: 0 on success. Each success must be
// matched by one WSACleanup.
int WSAStartup(uint16_t requestedVersion, uint16_t* grantedVersion);
int WSACleanup();
// Starts not yet matched by a cleanup (for tests and diagnostics).
int SocketStartCount();

// WSAGetLastError: the calling thread's last socket error, as a Windows
// Sockets number (0 when there is none).
int WSAGetLastError();
void WSASetLastError(int error);
// Records the calling thread's errno, numbered as Windows Sockets does, as the
// last socket error; called by the link right after a failed socket call.
void RecordSocketError();

}  // namespace kerrow::platform
