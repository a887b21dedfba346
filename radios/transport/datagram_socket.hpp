// UDP transport of the radios: one IPv4 socket and one block of packet memory cut into numbered slots.
//
// The radio holds slot numbers, looks into a slot in place and hands the number back; no packet is copied and
// nothing is allocated once the socket is open. All calls after the bring-up come from one thread, the
// radio's comms thread, except `allocateSend`, the slot memory itself and `connect`, which belong to the
// radio's serial queue; slot numbers travel between the two by SlotRing. In the open mode `sendTo` may be
// called from both: a spin lock of a few instructions keeps the count of finished slots.
//
// Log texts keep the names of the registered I/O service that this contract was first written for; a text
// whose step does not exist here is never logged.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

struct iovec;
struct mmsghdr;

namespace ferrow {

enum class SlotKind : int { ReceiveData = 0, TransmitData = 1, TransmitAddress = 2, ReceiveAddress = 3 };

struct SlotDescriptor {
    std::uint32_t offset = 0; // of the slot in the region, bytes
    std::uint32_t length = 0; // bytes to use; of a transmit slot, the length of the packet
    SlotKind kind = SlotKind::ReceiveData;
    int index = 0; // the slot's number among those of its kind
};

class DatagramSocket {
public:
    static constexpr int kAddressSize = 28; // bytes of one stored peer address
    static constexpr int kTransmitSlots = 128;
    static constexpr int kConnectedSlotSize = 1032;
    static constexpr int kOpenSlotSize = 2048;
    static constexpr int kOpenReceiveSlots = 256;
    static constexpr int kReceiveBufferBytes = 0x1000000;
    static constexpr int kWaitMilliseconds = 10;
    static constexpr std::size_t kFetch = 64;
    static constexpr int kDenseRate = 2000; // packets a second
    static constexpr std::chrono::microseconds kGather{2000};

    DatagramSocket();
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    // Bring-up, once. Connected mode: the peer is fixed, `rxCount` receive slots of 1032 bytes. The address
    // is in network order. 0 on success, −6 when all but the connect succeeded, else −1 (completion queue),
    // −2 (request queue), −3 (region), −4 (posting the receives).
    int openConnected(std::uint32_t remoteAddress, int rxCount);

    // Open mode: the peer's port is given per packet and incoming packets tell theirs; 256 slots of 2048
    // bytes, each followed by a 28-byte address record. 0, −1, −2, −3 or −4.
    int openUnconnected(std::uint32_t remoteAddress);

    // Connects (again) to `address`, `remotePort`. 0 or the system's error number. An address of 0 is
    // refused.
    int connect(std::uint32_t address);

    // The next finished receive slot, or −1 when 10 ms went by without a packet. At most `maxResults` packets
    // (at least 1, at most the capacity of the results) are taken from the finished ones at once and given
    // out by the following calls. What a datagram shorter than its slot leaves over is zeroed: bytes of an
    // earlier packet never show. A longer one is cut.
    //
    // One system call finishes as many slots as packets wait, up to kFetch. From kDenseRate packets a second
    // on the wait for the next ones is a sleep of kGather, so that the thread wakes for several at once.
    int receive(int maxResults) noexcept;

    // Posts the receive slot again; posted slots are filled in the order in which they were posted.
    void release(int slot) noexcept;

    // The next transmit slot in strict rotation, not checked for being free; −2 if `length` does not fit.
    int allocateSend(int length) noexcept;

    // Sends the slot as it stands (connected mode). 0 or −1.
    int send(int slot) noexcept;

    // Sends `length` bytes of the slot to `port` of the peer's address (open mode). 0 or −1.
    int sendTo(int slot, std::uint16_t port, int length) noexcept;

    std::uint8_t* rxData(int slot) noexcept {
        return region + rxSlots[static_cast<std::size_t>(slot)].offset;
    }
    std::uint8_t* txData(int slot) noexcept {
        return region + txSlots[static_cast<std::size_t>(slot)].offset;
    }
    // Open mode: port that the packet in this receive slot came from.
    std::uint16_t sourcePort(int slot) const noexcept;

    const std::vector<SlotDescriptor>& receiveSlots() const { return rxSlots; }
    const std::vector<SlotDescriptor>& receiveAddresses() const { return rxAddresses; }
    const std::vector<SlotDescriptor>& transmitSlots() const { return txSlots; }
    const std::vector<SlotDescriptor>& transmitAddresses() const { return txAddresses; }

    std::size_t resultCapacity() const { return capacity; }
    unsigned lastBatch() const { return resultCount; } // results of the last dequeue
    int outstandingSlots() const { return outstanding.load(std::memory_order_relaxed); }
    int outstandingPeakSlots() const { return outstandingPeak; }
    std::size_t regionSize() const { return regionBytes; }
    int receiveBufferSize() const { return receiveBuffer; } // as the system granted it
    std::uint16_t localPort() const;

    // Port of the peer; set it before the bring-up.
    std::uint16_t remotePort = 1024;

private:
    int open();
    void openSocket();
    bool mapRegion();
    void layOut();
    bool post(int slot) noexcept;
    int dequeue(int maxResults) noexcept;
    void fetch() noexcept;
    bool wait() noexcept;
    void noteRate() noexcept;
    int transmit(const SlotDescriptor& slot, const void* address, unsigned addressLength) noexcept;

    int socket = -1;
    int waitPort = -1; // what the wait for packets sleeps on
    std::uint8_t* region = nullptr;
    std::size_t regionBytes = 0;
    int rxCount = 0;
    int rxSize = 0;
    int txCount = 0;
    int txSize = 0;
    std::vector<SlotDescriptor> rxSlots, rxAddresses, txSlots, txAddresses;
    std::vector<int> posted; // receive slots in the hands of the system: a ring, oldest first
    std::size_t postedHead = 0, postedCount = 0;
    std::vector<int> arrived; // receive slots that are filled and not yet dequeued: a ring
    std::size_t arrivedHead = 0, arrivedCount = 0;
    std::vector<const SlotDescriptor*> finished; // sends that are done and not yet dequeued: a ring
    std::size_t finishedHead = 0, finishedCount = 0;
    std::chrono::steady_clock::time_point countedSince{}; // of the packet rate
    int counted = 0;
    bool dense = false;
    std::vector<const SlotDescriptor*> results; // what the last dequeue gave: the slots that are finished
    std::size_t capacity = 0;
    std::vector<mmsghdr> headers;
    std::vector<iovec> pieces;
    unsigned resultCount = 0, resultNext = 0;
    std::atomic_flag finishedBusy; // the sends of the open mode may come from two threads, one at a time
    std::atomic<int> outstanding{0};
    int outstandingPeak = 0;
    int receiveBuffer = 0;
    bool connected = false;
    std::uint32_t peer = 0;
    std::uint32_t txCursor = 0;
};

} // namespace ferrow
