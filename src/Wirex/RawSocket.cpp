#include "Wirex/RawSocket.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>

#include "Rix/Exception.h"
#include "Rix/Format.h"

namespace Wirex {
namespace {

// Room for the largest frame plus a VLAN tag put back.
constexpr std::size_t receiveBufferSize = 65536 + 4;

[[noreturn]] void socketFailed(const char* what, const IntfId& intf, int err) {
    throw Rix::RuntimeException(Rix::format("cannot %s on interface '%s': %s", what,
                                            intf.str().c_str(), std::strerror(err)));
}

int openBound(const IntfId& intf, U16 protocol) {
    const int index = intf.empty() ? 0 : intfIndex(intf);
    const int fd = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(protocol));
    if (fd < 0) socketFailed("open a raw socket", intf, errno);
    sockaddr_ll addr{};
    addr.sll_family = AF_PACKET;
    addr.sll_protocol = htons(protocol);
    addr.sll_ifindex = index;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0) {
        const int e = errno;
        ::close(fd);
        socketFailed("bind a raw socket", intf, e);
    }
    return fd;
}

}  // namespace

int intfIndex(const IntfId& intf) {
    const std::string name = intf.str();
    const unsigned index = name.empty() ? 0 : ::if_nametoindex(name.c_str());
    if (index == 0) {
        throw Rix::RuntimeException(Rix::format("unknown interface '%s'", name.c_str()));
    }
    return static_cast<int>(index);
}

RawSocketPam::RawSocketPam(const IntfId& intf) : intf_(intf) {
    if (intf.empty()) throw Rix::RuntimeException("a raw-socket transmitter needs an interface");
    // protocol 0: the socket sends and receives nothing
    fd_ = openBound(intf, 0);
}

RawSocketPam::~RawSocketPam() {
    if (fd_ >= 0) ::close(fd_);
}

void RawSocketPam::send(const Rix::Ptr<Pkt>& pkt) noexcept {
    if (!pkt) {
        framesDroppedInc();
        return;
    }
    const ssize_t n = ::send(fd_, pkt->data(), pkt->bytes(), MSG_DONTWAIT);
    if (n < 0) {
        lastError_ = errno;
        if (lastError_ == EAGAIN || lastError_ == EWOULDBLOCK || lastError_ == ENOBUFS ||
            lastError_ == EMSGSIZE) {
            framesDroppedInc();
        } else {
            sendErrorsInc();
        }
        return;
    }
    if (static_cast<U32>(n) != pkt->bytes()) {
        framesDroppedInc();
        return;
    }
    framesSentInc();
}

RawSocketSource::RawSocketSource(const IntfId& intf, int timeoutMs)
    : intf_(intf), timeoutMs_(timeoutMs), buf_(receiveBufferSize) {
    fd_ = openBound(intf, ETH_P_ALL);
    const int on = 1;
    if (::setsockopt(fd_, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on) != 0) {
        const int e = errno;
        ::close(fd_);
        socketFailed("ask for packet auxiliary data", intf, e);
    }
}

RawSocketSource::~RawSocketSource() {
    if (fd_ >= 0) ::close(fd_);
}

IntfId RawSocketSource::nameOf(int ifindex) {
    auto it = names_.find(ifindex);
    if (it != names_.end()) return it->second;
    char name[IF_NAMESIZE] = {};
    IntfId id;
    if (::if_indextoname(static_cast<unsigned>(ifindex), name)) id = IntfId(std::string_view(name));
    names_.emplace(ifindex, id);
    return id;
}

bool RawSocketSource::nextFrame(Frame& frame) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs_ < 0 ? 0 : timeoutMs_);
    for (;;) {
        int wait = timeoutMs_;
        if (timeoutMs_ >= 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            wait = left.count() > 0 ? static_cast<int>(left.count()) : 0;
        }
        pollfd p{fd_, POLLIN, 0};
        const int r = ::poll(&p, 1, wait);
        if (r < 0) {
            if (errno == EINTR) continue;
            socketFailed("wait for frames", intf_, errno);
        }
        if (r == 0) return false;

        sockaddr_ll from{};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(tpacket_auxdata))];
        // leave 4 bytes in front for a VLAN tag to be put back
        iovec iov{buf_.data() + 4, buf_.size() - 4};
        msghdr msg{};
        msg.msg_name = &from;
        msg.msg_namelen = sizeof from;
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof control;
        const ssize_t n = ::recvmsg(fd_, &msg, MSG_TRUNC | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK) continue;
            socketFailed("receive", intf_, errno);
        }
        if (from.sll_pkttype == PACKET_OUTGOING) continue;

        U8* data = buf_.data() + 4;
        U32 wire = static_cast<U32>(n);
        U32 length = wire < iov.iov_len ? wire : static_cast<U32>(iov.iov_len);
        for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level != SOL_PACKET || c->cmsg_type != PACKET_AUXDATA) continue;
            tpacket_auxdata aux;
            std::memcpy(&aux, CMSG_DATA(c), sizeof aux);
            if ((aux.tp_status & TP_STATUS_VLAN_VALID) && length >= 12) {
                const U16 tpid =
                    (aux.tp_status & TP_STATUS_VLAN_TPID_VALID) ? aux.tp_vlan_tpid : 0x8100;
                std::memmove(data - 4, data, 12);
                data -= 4;
                data[12] = static_cast<U8>(tpid >> 8);
                data[13] = static_cast<U8>(tpid);
                data[14] = static_cast<U8>(aux.tp_vlan_tci >> 8);
                data[15] = static_cast<U8>(aux.tp_vlan_tci);
                length += 4;
                wire += 4;
            }
        }
        timeval tv{};
        if (::ioctl(fd_, SIOCGSTAMP, &tv) != 0) ::gettimeofday(&tv, nullptr);
        frame.data = data;
        frame.length = length;
        frame.wireLength = wire;
        frame.seconds = static_cast<U64>(tv.tv_sec);
        frame.useconds = static_cast<U32>(tv.tv_usec);
        frame.ingressIntf = nameOf(from.sll_ifindex);
        return true;
    }
}

}  // namespace Wirex
