// The exported functions reach what they name.

#include "core/async/handle.hpp"
#include "tests/modes/multi_psk/link_client.hpp"

#include <ferrowcore/ferrowcore.h>

namespace ferrow {
namespace {

using test::framed;
using test::initBody;
using test::LinkClient;
using test::settle;
using test::waitFor;

int there, asked, port, deleted;
void onConnected(bool value) {
    there = value;
}
void onSending(bool value) {
    asked = value;
}
void onPort(int value) {
    port = value;
}
void onDeleted(int value) {
    deleted = value;
}

bool pumped(const std::function<bool()>& done) {
    return waitFor([&] {
        pumpUpdates();
        return done();
    });
}

class MultiPskApi : public test::LinkTest {
protected:
    void SetUp() override {
        LinkTest::SetUp();
        there = asked = port = -1;
        deleted = 0;
    }
};

TEST_F(MultiPskApi, PropertiesAreBoundAndSet) {
    void* handle = MultiPskModDemod_create();
    const auto made = std::dynamic_pointer_cast<MultiPskModDemod>(*static_cast<Handle*>(handle));
    ASSERT_TRUE(made);
    EXPECT_FALSE(made->connected.value());
    EXPECT_FALSE(made->sending.value());
    EXPECT_EQ(made->port.value(), 50001);
    MultiPskModDemod_bindconnected(handle, onConnected);
    MultiPskModDemod_bindsending(handle, onSending);
    MultiPskModDemod_bindport(handle, onPort);
    MultiPskModDemod_setconnected(handle, true);
    MultiPskModDemod_setsending(handle, true);
    MultiPskModDemod_setport(handle, 50044);
    settle(rootSyncTask);
    EXPECT_TRUE(made->connected.value());
    EXPECT_TRUE(made->sending.value());
    EXPECT_EQ(made->port.value(), 50044);
    pumpUpdates();
    EXPECT_EQ(there, -1); // a host knows what it has set
    EXPECT_EQ(asked, -1);
    EXPECT_EQ(port, -1);
    MultiPskModDemod_release(handle);
}

// Set, handed over at once, used, released: as a host does it.
TEST_F(MultiPskApi, AHostSeesAClientComeAskAndGo) {
    auto transceiver = addVtrx(kTuned);
    void* receiver = makeHandle(transceiver);
    void* handle = MultiPskModDemod_create();
    asyncObject_bindDeleted(handle, onDeleted);
    MultiPskModDemod_bindconnected(handle, onConnected);
    MultiPskModDemod_bindsending(handle, onSending);
    MultiPskModDemod_bindport(handle, onPort);
    MultiPskModDemod_setport(handle, 50031);
    vtrx_setModulation(receiver, handle);
    settle(transceiver->context());
    settle(rootSyncTask);
    {
        LinkClient client(address, 50031);
        ASSERT_TRUE(client.heard());
        EXPECT_TRUE(pumped([] { return there == 1; }));
        ASSERT_TRUE(client.send(framed(initBody(7040000))));
        EXPECT_TRUE(pumped([] { return asked == 1; }));
        ASSERT_TRUE(client.send(framed("Bug_on_P")));
        EXPECT_TRUE(pumped([] { return asked == 0; }));
    }
    EXPECT_TRUE(pumped([] { return there == 0; }));
    EXPECT_EQ(port, -1);
    EXPECT_EQ(transceiver->vfo.value(), 7040000);
    void* other = modDemod_create();
    vtrx_setModulation(receiver, other);
    MultiPskModDemod_release(handle);
    EXPECT_TRUE(pumped([] { return deleted == 1; }));
    EXPECT_FALSE(LinkClient(address, 50031).connected());
    modDemod_release(other);
    vtrx_release(receiver);
}

} // namespace
} // namespace ferrow
