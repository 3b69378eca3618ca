// Socket start counting and the Windows Sockets numbering of errors.
#include "platform/Sockets.h"

#include <errno.h>

#include <atomic>

namespace kerrow::platform {
namespace {

constexpr int kWsaEFault = 10014;
constexpr int kWsaVerNotSupported = 10092;
constexpr int kWsaNotInitialised = 10093;
// Errors that Windows Sockets has no number for are reported as this base
// plus the errno value. The range lies above every Windows Sockets number, so
// such an error can never be taken for one of them (10035 above all).
constexpr int kUnmappedErrorBase = 20000;

std::atomic<int> g_startCount{0};
thread_local int t_lastError = 0;

// Windows Sockets numbers follow the BSD errno numbers plus 10000; Linux
// numbers its errno values differently, so each is mapped by name.
int SocketErrorFromErrno(int error) {
    switch (error) {
        case 0:
            return 0;
        case EINTR:
            return 10004;
        case EBADF:
            return kWsaENotSock;
        case EACCES:
            return 10013;
        case EFAULT:
            return kWsaEFault;
        case EINVAL:
            return kWsaEInvalid;
        case EMFILE:
            return 10024;
        case EWOULDBLOCK:
            return kWsaEWouldBlock;  // also EAGAIN
        case EINPROGRESS:
            return kWsaEInProgress;
        case EALREADY:
            return 10037;
        case ENOTSOCK:
            return kWsaENotSock;
        case EDESTADDRREQ:
            return 10039;
        case EMSGSIZE:
            return kWsaEMsgSize;
        case EPROTOTYPE:
            return 10041;
        case ENOPROTOOPT:
            return 10042;
        case EPROTONOSUPPORT:
            return 10043;
        case ESOCKTNOSUPPORT:
            return 10044;
        case EOPNOTSUPP:
            return 10045;
        case EPFNOSUPPORT:
            return 10046;
        case EAFNOSUPPORT:
            return 10047;
        case EADDRINUSE:
            return kWsaEAddrInUse;
        case EADDRNOTAVAIL:
            return kWsaEAddrNotAvail;
        case ENETDOWN:
            return kWsaENetDown;
        case ENETUNREACH:
            return kWsaENetUnreach;
        case ENETRESET:
            return 10052;
        case ECONNABORTED:
            return kWsaEConnAborted;
        case ECONNRESET:
            return kWsaEConnReset;
        // A send to a peer that has gone away: the library never writes after
        // shutting its own side down, so this is the peer's reset.
        case EPIPE:
            return kWsaEConnReset;
        case ENOBUFS:
            return kWsaENoBufs;
        case ENOMEM:
            return kWsaENoBufs;
        case EISCONN:
            return 10056;
        case ENOTCONN:
            return kWsaENotConn;
        case ESHUTDOWN:
            return kWsaEShutdown;
        case ETIMEDOUT:
            return kWsaETimedOut;
        case ECONNREFUSED:
            return kWsaEConnRefused;
        case ELOOP:
            return 10062;
        case ENAMETOOLONG:
            return 10063;
        case EHOSTDOWN:
            return 10064;
        case EHOSTUNREACH:
            return kWsaEHostUnreach;
        default:
            return kUnmappedErrorBase + error;
    }
}

}  // namespace

int WSAStartup(uint16_t requestedVersion, uint16_t* grantedVersion) {
    if (grantedVersion == nullptr) return kWsaEFault;
    const unsigned major = requestedVersion & 0xFF;
    const unsigned minor = requestedVersion >> 8;
    if (major == 0) return kWsaVerNotSupported;
    // Version 2.2 is the highest there is; a lower request gets what it asks.
    *grantedVersion = (major > 2 || (major == 2 && minor >= 2)) ? 0x0202 : requestedVersion;
    g_startCount.fetch_add(1);
    return 0;
}

int WSACleanup() {
    int count = g_startCount.load();
    while (count > 0) {
        if (g_startCount.compare_exchange_weak(count, count - 1)) return 0;
    }
    t_lastError = kWsaNotInitialised;
    return kSocketError;
}

int SocketStartCount() { return g_startCount.load(); }

int WSAGetLastError() { return t_lastError; }

void WSASetLastError(int error) { t_lastError = error; }

void RecordSocketError() { t_lastError = SocketErrorFromErrno(errno); }

}  // namespace kerrow::platform
