// Creating, tuning and connecting the link; everything else is forwarded.
#include "net/Connection.h"

#include <cstdio>
#include <new>

#include "log/Log.h"
#include "net/TcpsocketLink.h"

namespace kerrow {
namespace {

constexpr uint32_t kReadBufferBytes = 1048576;  // 1 MiB receive buffer
constexpr uint32_t kWriteBufferBytes = 262144;  // 256 KiB send buffer

}  // namespace

Connection::Connection(int32_t linkType) : m_linkType(linkType), m_plink(nullptr) {}

Connection::~Connection() {
    if (m_plink != nullptr) {
        delete m_plink;
        m_plink = nullptr;
    }
}

int32_t Connection::Connect(const std::string& host, uint32_t port) {
    switch (m_linkType) {
        case kTcp:
            // A link held from an earlier connect is replaced; its socket is
            // left as it was (a link's destructor never closes it).
            delete m_plink;
            m_plink = new (std::nothrow) TcpsocketLink();
            break;
        case kUdpSocket:
            std::fputs("network linktype UDPSOCKET now is not implement !\n", stdout);
            break;
        case kRtpLink:
            std::fputs("network linktype RTPLINK now is not implement !\n", stdout);
            break;
        case kRtspLink:
            std::fputs("network linktype RTSPLINK now is not implement !\n", stdout);
            break;
        default:
            std::fputs("network linktype set error!\n", stdout);
            break;
    }

    if (m_plink == nullptr) {
        std::fputs("new Link error!\n", stdout);
        KLOG_ERROR_AT("Connection::Connect", ".\\Connection", 52)
            << "ZOREK new TcpsocketLink()  FAILURE";
        return -1;
    }

    m_plink->SetReadBuffer(kReadBufferBytes);
    m_plink->SetWriteBuffer(kWriteBufferBytes);

    if (m_plink->Connect(host, port) == -1) {
        KLOG_ERROR_AT("Connection::Connect", ".\\Connection", 62)
            << "ZOREK m_plink Connect FAILURE:" << m_plink->GetErrorText();
        return -1;
    }

    // Every read and write from here on answers at once; the callers poll.
    m_plink->SetNonBlocking();
    m_plink->SetReuseAddr();
    return 0;
}

int32_t Connection::Read(char* buffer, int32_t length) { return m_plink->Read(buffer, length); }

int32_t Connection::Write(const char* buffer, int32_t length) {
    return m_plink->Write(buffer, length);
}

int32_t Connection::Close() { return m_plink->Close(); }

bool Connection::IsClosed() { return m_plink->IsClosed(); }

std::string Connection::GetErrorText() { return m_plink->GetErrorText(); }

int32_t Connection::Socket() const { return m_plink != nullptr ? m_plink->Socket() : -1; }

int32_t Connection::WaitReadable(uint32_t milliseconds) {
    if (m_plink == nullptr) return -1;
    return m_plink->WaitReadable(milliseconds);
}

}  // namespace kerrow
