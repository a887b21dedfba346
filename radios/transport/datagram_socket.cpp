#include "radios/transport/datagram_socket.hpp"

#include "core/tasks/log.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <limits>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <thread>
#include <unistd.h>

namespace ferrow {

namespace {

// For a few instructions at a time.
class SpinLock {
public:
    explicit SpinLock(std::atomic_flag& flag) : flag_(flag) {
        while (flag_.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    ~SpinLock() { flag_.clear(std::memory_order_release); }
    SpinLock(const SpinLock&) = delete;
    SpinLock& operator=(const SpinLock&) = delete;

private:
    std::atomic_flag& flag_;
};

sockaddr_in socketAddress(std::uint32_t address, std::uint16_t port) {
    sockaddr_in out{};
    out.sin_family = AF_INET;
    out.sin_port = htons(port);
    out.sin_addr.s_addr = address;
    return out;
}

// Errors that some earlier packet left on the socket (an ICMP answer). Reading one clears it; the call that
// met it did nothing and has to be made again.
bool isLeftover(int error) {
    return error == ECONNREFUSED || error == EHOSTUNREACH || error == ENETUNREACH || error == EHOSTDOWN ||
           error == ENETDOWN || error == ENOPROTOOPT || error == EPROTO || error == EMSGSIZE;
}

constexpr int kLeftoverTries = 4;

} // namespace

DatagramSocket::DatagramSocket() = default;

DatagramSocket::~DatagramSocket() {
    if (waitPort >= 0)
        ::close(waitPort);
    if (socket >= 0)
        ::close(socket);
    if (region)
        ::munmap(region, regionBytes);
}

int DatagramSocket::openConnected(std::uint32_t remoteAddress, int receiveSlots) {
    connected = true;
    rxCount = std::max(receiveSlots, 0);
    rxSize = txSize = kConnectedSlotSize;
    txCount = kTransmitSlots;
    capacity = static_cast<std::size_t>(rxCount);
    peer = remoteAddress;
    return open();
}

int DatagramSocket::openUnconnected(std::uint32_t remoteAddress) {
    connected = false;
    rxCount = kOpenReceiveSlots;
    rxSize = txSize = kOpenSlotSize;
    txCount = kTransmitSlots;
    capacity = 256;
    peer = remoteAddress;
    return open();
}

void DatagramSocket::openSocket() {
    socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (socket < 0)
        logError("Rio Invalid socket {}", errno);

    socklen_t length = sizeof receiveBuffer;
    if (::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, &length) != 0)
        logError("setsockopt ");
    const int wanted = kReceiveBufferBytes;
    if (::setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) != 0 &&
        ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted) != 0)
        logError("setsockopt 2 ");
    length = sizeof receiveBuffer;
    if (::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, &length) != 0)
        logError("setsockopt 3");

    // A port is exclusive here unless its owner allows sharing, so that is what has to stay off.
    const int sharing = 0;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &sharing, sizeof sharing);

    const sockaddr_in any = socketAddress(INADDR_ANY, 0);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0)
        logError("Rio Bind Failure {}", errno);
}

int DatagramSocket::open() {
    int result = 0;
    openSocket();
    if (connected) {
        if (const int error = connect(peer)) {
            logTrace("create rio failed {} {}", error, peer);
            result = -6;
        }
    }

    waitPort = ::epoll_create1(EPOLL_CLOEXEC);
    if (waitPort < 0) {
        if (connected)
            logError("rio queue create failed {}", errno);
        else
            logError("RIOCreateCompletionQueue {}", errno);
        return -1;
    }
    epoll_event readable{};
    readable.events = EPOLLIN;
    if (::epoll_ctl(waitPort, EPOLL_CTL_ADD, socket, &readable) != 0) {
        logError("RIOCreateRequestQueue {}", errno);
        return -2;
    }

    if (!mapRegion()) {
        const int error = errno;
        logError("rio alloc failure");
        logError("RIORegisterBuffer {}", error);
        return -3;
    }
    layOut();
    for (int slot = 0; slot < rxCount; ++slot) {
        if (!post(slot)) {
            logError("RIOReceive {}", ENOBUFS);
            return -4;
        }
    }
    return result;
}

bool DatagramSocket::mapRegion() {
    const std::size_t record = connected ? 0 : kAddressSize;
    const std::size_t bytes =
        static_cast<std::size_t>(rxCount) * (static_cast<std::size_t>(rxSize) + record) +
        static_cast<std::size_t>(txCount) * (static_cast<std::size_t>(txSize) + record);
    // Offsets are 32-bit words.
    if (bytes > std::numeric_limits<std::uint32_t>::max()) {
        errno = ENOMEM;
        return false;
    }
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    regionBytes = (bytes + page - 1) / page * page;
    void* memory = ::mmap(nullptr, regionBytes, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory == MAP_FAILED) {
        regionBytes = 0;
        return false;
    }
    region = static_cast<std::uint8_t*>(memory);
    return true;
}

void DatagramSocket::layOut() {
    std::uint32_t offset = 0;
    const auto place = [&](std::vector<SlotDescriptor>& data, SlotKind kind,
                           std::vector<SlotDescriptor>& addresses, SlotKind addressKind, int count,
                           int size) {
        data.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            data.push_back({offset, static_cast<std::uint32_t>(size), kind, i});
            offset += static_cast<std::uint32_t>(size);
            if (connected)
                continue;
            addresses.push_back({offset, kAddressSize, addressKind, i});
            offset += kAddressSize;
        }
    };
    place(rxSlots, SlotKind::ReceiveData, rxAddresses, SlotKind::ReceiveAddress, rxCount, rxSize);
    place(txSlots, SlotKind::TransmitData, txAddresses, SlotKind::TransmitAddress, txCount, txSize);

    posted.resize(static_cast<std::size_t>(rxCount));
    finished.resize(static_cast<std::size_t>(txCount));
    arrived.resize(static_cast<std::size_t>(rxCount));
    results.resize(capacity);
    headers.resize(kFetch);
    pieces.resize(kFetch);
}

int DatagramSocket::connect(std::uint32_t address) {
    peer = address;
    // The system would take 0 for this machine itself.
    if (address == 0)
        return EADDRNOTAVAIL;
    const sockaddr_in to = socketAddress(address, remotePort);
    return ::connect(socket, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0 ? 0 : errno;
}

bool DatagramSocket::post(int slot) noexcept {
    if (slot < 0 || slot >= static_cast<int>(posted.size()) || postedCount == posted.size())
        return false;
    posted[(postedHead + postedCount) % posted.size()] = slot;
    ++postedCount;
    return true;
}

void DatagramSocket::release(int slot) noexcept {
    if (!post(slot)) {
        if (connected)
            logError("RIOReceive1 {}", EINVAL);
        else
            logError("RIOReceive2 {}", EINVAL);
    }
    outstanding.fetch_sub(1, std::memory_order_relaxed);
}

int DatagramSocket::receive(int maxResults) noexcept {
    for (;;) {
        while (resultNext < resultCount) {
            const SlotDescriptor& slot = *results[resultNext++];
            if (slot.kind == SlotKind::TransmitData)
                continue;
            if (slot.kind != SlotKind::ReceiveData || slot.index < 0 || slot.index >= rxCount) {
                logError("RIO ???");
                continue;
            }
            const int out = outstanding.fetch_add(1, std::memory_order_relaxed) + 1;
            outstandingPeak = std::max(outstandingPeak, out);
            return slot.index;
        }
        // Under load packets are waiting already, and looking first saves the wait.
        if (dequeue(maxResults) == 0 && (!wait() || dequeue(maxResults) == 0))
            return -1;
    }
}

// Fills `results` with what is finished now and gives their number.
int DatagramSocket::dequeue(int maxResults) noexcept {
    resultCount = resultNext = 0;
    if (!region)
        return 0;
    const std::size_t limit = std::min(capacity, static_cast<std::size_t>(std::max(maxResults, 1)));
    {
        const SpinLock lock(finishedBusy);
        while (finishedCount > 0 && resultCount < limit) {
            results[resultCount++] = finished[finishedHead];
            finishedHead = (finishedHead + 1) % finished.size();
            --finishedCount;
        }
    }
    if (arrivedCount == 0 && resultCount < limit)
        fetch();
    while (arrivedCount > 0 && resultCount < limit) {
        results[resultCount++] = &rxSlots[static_cast<std::size_t>(arrived[arrivedHead])];
        arrivedHead = (arrivedHead + 1) % arrived.size();
        --arrivedCount;
    }
    return static_cast<int>(resultCount);
}

// Fills posted slots with the datagrams that wait.
void DatagramSocket::fetch() noexcept {
    const std::size_t count = std::min(kFetch, postedCount);
    if (count == 0)
        return;
    for (std::size_t i = 0; i < count; ++i) {
        const auto slot = static_cast<std::size_t>(posted[(postedHead + i) % posted.size()]);
        pieces[i] = {region + rxSlots[slot].offset, rxSlots[slot].length};
        msghdr& header = headers[i].msg_hdr;
        header = {};
        header.msg_iov = &pieces[i];
        header.msg_iovlen = 1;
        if (!connected) {
            header.msg_name = region + rxAddresses[slot].offset;
            header.msg_namelen = kAddressSize;
        }
    }
    int taken = -1;
    for (int tries = 0; tries < kLeftoverTries; ++tries) {
        taken = ::recvmmsg(socket, headers.data(), static_cast<unsigned>(count), MSG_DONTWAIT, nullptr);
        if (taken >= 0 || !isLeftover(errno))
            break;
    }
    if (taken < 0) {
        if (errno != EAGAIN && errno != EINTR && !isLeftover(errno)) {
            logTrace("RIODequeueCompletion {}", errno);
            std::this_thread::sleep_for(std::chrono::milliseconds(kWaitMilliseconds));
        }
        return;
    }
    for (int i = 0; i < taken; ++i) {
        const int index = posted[postedHead];
        const SlotDescriptor& slot = rxSlots[static_cast<std::size_t>(index)];
        const std::uint32_t bytes = std::min(headers[static_cast<std::size_t>(i)].msg_len, slot.length);
        std::memset(region + slot.offset + bytes, 0, slot.length - bytes);
        arrived[(arrivedHead + arrivedCount++) % arrived.size()] = index;
        postedHead = (postedHead + 1) % posted.size();
        --postedCount;
    }
    counted += taken;
}

void DatagramSocket::noteRate() noexcept {
    using namespace std::chrono;
    const auto now = steady_clock::now();
    const auto elapsed = now - countedSince;
    if (elapsed < milliseconds(kWaitMilliseconds))
        return;
    // What came in a long silence says nothing about the present.
    dense = elapsed < 10 * milliseconds(kWaitMilliseconds) &&
            counted >= duration<double>(elapsed).count() * kDenseRate;
    countedSince = now;
    counted = 0;
}

// Sleeps until something can be taken. False when the time ran out.
bool DatagramSocket::wait() noexcept {
    if (postedCount == 0) {
        // Every slot is in the radio's hands. Waiting packets would end the sleep at once and could not be
        // taken, so only a moment passes until the caller has looked for released slots again.
        std::this_thread::sleep_for(std::chrono::milliseconds(region ? 1 : kWaitMilliseconds));
        return false;
    }
    noteRate();
    if (dense) {
        std::this_thread::sleep_for(kGather);
        fetch();
        if (arrivedCount > 0)
            return true;
    }
    epoll_event event{};
    const int ready = ::epoll_wait(waitPort, &event, 1, kWaitMilliseconds);
    if (ready < 0 && errno != EINTR) {
        logTrace("RIO getcompletionqueuestatus {}", errno);
        std::this_thread::sleep_for(std::chrono::milliseconds(kWaitMilliseconds));
    }
    return ready > 0;
}

int DatagramSocket::allocateSend(int length) noexcept {
    if (length > txSize) {
        logTrace("RIOSend buffer too long {} {}", length, txSize);
        return -2;
    }
    if (txSlots.empty() || length < 0)
        return -2;
    txCursor = (txCursor + 1) % static_cast<std::uint32_t>(txCount);
    txSlots[txCursor].length = static_cast<std::uint32_t>(length);
    return static_cast<int>(txCursor);
}

int DatagramSocket::transmit(const SlotDescriptor& slot, const void* address,
                             unsigned addressLength) noexcept {
    ssize_t sent = -1;
    for (int tries = 0; tries < kLeftoverTries; ++tries) {
        sent = ::sendto(socket, region + slot.offset, slot.length, MSG_DONTWAIT | MSG_NOSIGNAL,
                        static_cast<const sockaddr*>(address), addressLength);
        if (sent >= 0 || !isLeftover(errno))
            break;
    }
    // A peer that is not there is no failure of the sender.
    if (sent < 0 && errno != ECONNREFUSED)
        return errno;
    const SpinLock lock(finishedBusy);
    if (finishedCount < finished.size()) {
        finished[(finishedHead + finishedCount) % finished.size()] = &slot;
        ++finishedCount;
    }
    return 0;
}

int DatagramSocket::send(int slot) noexcept {
    const bool known = slot >= 0 && slot < static_cast<int>(txSlots.size());
    const int error = known ? transmit(txSlots[static_cast<std::size_t>(slot)], nullptr, 0) : EINVAL;
    if (error != 0)
        logError("RIOSend err {}", error);
    return error == 0 ? 0 : -1;
}

int DatagramSocket::sendTo(int slot, std::uint16_t port, int length) noexcept {
    int error = EINVAL;
    if (slot >= 0 && slot < static_cast<int>(txAddresses.size()) && length >= 0 && length <= txSize) {
        const auto at = static_cast<std::size_t>(slot);
        std::uint8_t* record = region + txAddresses[at].offset;
        const sockaddr_in to = socketAddress(peer, port);
        std::memset(record, 0, kAddressSize);
        std::memcpy(record, &to, sizeof to);
        txSlots[at].length = static_cast<std::uint32_t>(length);
        error = transmit(txSlots[at], record, sizeof to);
    }
    if (error != 0)
        logError("RIOSend {}", error);
    return error == 0 ? 0 : -1;
}

std::uint16_t DatagramSocket::sourcePort(int slot) const noexcept {
    sockaddr_in from;
    std::memcpy(&from, region + rxAddresses[static_cast<std::size_t>(slot)].offset, sizeof from);
    return ntohs(from.sin_port);
}

std::uint16_t DatagramSocket::localPort() const {
    sockaddr_in own{};
    socklen_t length = sizeof own;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&own), &length) != 0)
        return 0;
    return ntohs(own.sin_port);
}

} // namespace ferrow
