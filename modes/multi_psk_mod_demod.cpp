#include "modes/multi_psk_mod_demod.hpp"

#include "core/tasks/log.hpp"
#include "trx/vtrx.hpp"

#include <cstdlib>

namespace ferrow {

MultiPskModDemod::MultiPskModDemod(const std::shared_ptr<syncTask>& context)
    : modDemod(context), address_(listenAddress()),
      server_([this](buff<char> body) { obey(body); }, [this](bool there) { connected.set(there); },
              kPacketLimit) {}

std::string MultiPskModDemod::listenAddress() {
    const char* wish = std::getenv("FERROW_MULTIPSK_ADDRESS");
    return wish != nullptr && *wish != '\0' ? wish : "127.0.0.1";
}

// On the object's context, where what the host has set before has arrived.
void MultiPskModDemod::init() {
    queueSeqItem(seqTask("MultiPskModDemod.init", [self = std::static_pointer_cast<MultiPskModDemod>(
                                                       shared_from_this())] { self->startServer(); }));
}

void MultiPskModDemod::startServer() {
    const int first = port.value();
    if (server_.listening() && lease_.port() == first)
        return;
    server_.close();
    lease_ = PortLease();
    lease_ = PortLease(first);
    if (lease_.port() == 0) {
        logError("listen err no port from {} on within 1 to 65535", first);
        return;
    }
    if (lease_.port() != first)
        port.set(lease_.port());
    server_.listen(address_, static_cast<std::uint16_t>(lease_.port()), shared_from_this());
}

void MultiPskModDemod::obey(const buff<char>& body) {
    const MultiPskRequest request = readMultiPskRequest(body);
    switch (request.command) {
    case MultiPskCommand::None:
        break;
    case MultiPskCommand::Version:
        server_.send(versionPacket());
        break;
    case MultiPskCommand::Capability:
        server_.send(capabilityPacket());
        break;
    case MultiPskCommand::Start:
        tune(request.frequency);
        sending.set(true);
        break;
    case MultiPskCommand::Tune:
        tune(request.frequency);
        break;
    case MultiPskCommand::Stop:
        sending.set(false);
        break;
    }
}

void MultiPskModDemod::tune(long long hertz) {
    const auto link = vtrxLink();
    if (!link)
        return;
    link->queueSeqItem(seqTask(
        "vtrx.vfo.set", [self = std::static_pointer_cast<MultiPskModDemod>(shared_from_this()), link, hertz] {
            if (self->vtrxLink() != link) // it has another mode by now
                return;
            self->tuningForClient_.store(true, std::memory_order_relaxed);
            link->vfo.set(hertz);
            self->tuningForClient_.store(false, std::memory_order_relaxed);
        }));
}

void MultiPskModDemod::setFrequency(long long vfo) {
    if (!sending.value() || tuningForClient_.load(std::memory_order_relaxed))
        return;
    if (const auto link = vtrxLink(); link && link->vfo.value() != vfo)
        return; // a transceiver that has lost the mode to this one
    server_.send(frequencyPacket(vfo));
}

buff<float> MultiPskModDemod::demodulate(buff<std::complex<float>> block) {
    if (sending.value())
        server_.send(stream_.packet(block.span()));
    return realPart(block);
}

} // namespace ferrow
