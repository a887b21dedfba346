// mpscQueue (core/tasks/mpsc_queue.hpp): rings of the producing threads, made at their first push, and one
// consumer that scans them by ticket. All interleavings, with the producers' store buffers of x86, which keep
// the order of stores.
#include "tests/model/explorer.hpp"

#include <gtest/gtest.h>

#include <cstdio>

namespace ferrow::test {
namespace {

enum class Mutation {
    None,
    PublishFirst, // the write index before the element
    ReleaseFirst, // the read index before the element is out: harmless
    NoEmptyPlace, // a ring fills all of its places
    FirstRing,    // the consumer takes from the first ring that holds something
    NeverReload,  // the producer trusts the read index that it saw when its ring was last full
    StaleWrite,   // the consumer trusts the write index that it saw first
};

enum class Order {
    UnlessOvertaken, // an element comes out before another with a later ticket whenever both are to be seen
                     // and none later has come out before
    Always,          // ... whenever both are to be seen
};

constexpr int kProducers = 3, kPlaces = 3;

struct Shape {
    int producers, items, places;
};

class QueueModel {
public:
    QueueModel(Shape shape, Mutation mutation, Order order)
        : shape_(shape), mutation_(mutation), order_(order) {}

    struct Slot {
        std::uint8_t ticket, element;
    };
    struct Producer {
        std::uint8_t at, item, ticket, ring, pushed; // item: the one that it pushes, from 1
        std::uint8_t readSeen;                       // the read index when it last looked
        std::uint8_t place, write;                   // stores still in its buffer, each from 1; 0: none
        Slot filling;
    };
    struct Ring {
        std::uint8_t made, write, read; // made: the consumer may see it
        std::uint8_t writeSeen;         // the write index when the consumer last looked
        Slot slots[kPlaces];
    };
    struct State {
        std::uint8_t tickets, rings;
        Producer producer[kProducers];
        Ring ring[kProducers];
        std::uint8_t owner[kProducers]; // of a ring: producer + 1
        // The consumer.
        std::uint8_t at, scan, scanned, best, bestTicket, nextTicket, wrong;
        std::uint8_t seen[kProducers];  // tickets at the heads when the scan began
        std::uint8_t taken[kProducers]; // the last element of each producer
        std::uint8_t count[kProducers]; // elements taken
    };

    State first() const {
        State state{};
        state.tickets = 1;
        state.best = kNone;
        for (Producer& producer : state.producer)
            producer.item = 1;
        return state;
    }

    int actors() const { return 2 * shape_.producers + 1; }

    const char* step(State& s, int actor) const {
        if (actor < shape_.producers)
            return produce(s, actor);
        if (actor < 2 * shape_.producers)
            return drain(s, s.producer[actor - shape_.producers]);
        return consume(s);
    }

    const char* broken(const State& s) const {
        return s.wrong == kGarbage   ? "the consumer took what was not stored"
               : s.wrong == kOrder   ? "a thread's elements changed places"
               : s.wrong == kTickets ? "an element was overtaken"
               : s.wrong == kRoom    ? "an element was refused though there was room"
                                     : nullptr;
    }

    const char* unfinished(const State& s) const {
        for (int p = 0; p < shape_.producers; ++p)
            if (s.count[p] != s.producer[p].pushed)
                return "an element is lost";
        return nullptr;
    }

private:
    enum ProducerAt : std::uint8_t { kTicket, kNumber, kMake, kCheck, kStore };
    enum ConsumerAt : std::uint8_t { kScan, kTake, kAdvance };
    enum Wrong : std::uint8_t { kFine, kGarbage, kOrder, kTickets, kRoom };
    static constexpr std::uint8_t kNone = 0xff;

    std::uint8_t after(std::uint8_t index) const {
        return static_cast<std::uint8_t>(index + 1 == shape_.places ? 0 : index + 1);
    }

    // One of the two stores that a push has, in their order.
    const char* drain(State& s, Producer& me) const {
        Ring& ring = s.ring[me.ring];
        if (me.place != 0 && (mutation_ != Mutation::PublishFirst || me.write == 0)) {
            ring.slots[me.place - 1] = me.filling;
            me.place = 0;
            return "the element arrives in the ring";
        }
        if (me.write == 0)
            return nullptr;
        ring.write = static_cast<std::uint8_t>(me.write - 1);
        me.write = 0;
        return "the write index arrives";
    }

    const char* produce(State& s, int p) const {
        Producer& me = s.producer[p];
        Ring& ring = s.ring[me.ring];
        switch (me.at) {
        case kTicket:
            if (me.item > shape_.items || me.place != 0 || me.write != 0)
                return nullptr; // an atomic addition waits for the store buffer
            me.ticket = ++s.tickets;
            me.at = s.owner[me.ring] == p + 1 ? kCheck : kNumber;
            return "draws a ticket";
        case kNumber:
            me.ring = s.rings++;
            me.at = kMake;
            return "counts its ring";
        case kMake:
            ring.made = 1;
            s.owner[me.ring] = static_cast<std::uint8_t>(p + 1);
            me.at = kCheck;
            return "shows its ring";
        case kCheck:
            if (after(ring.write) == me.readSeen && mutation_ != Mutation::NeverReload)
                me.readSeen = ring.read;
            if (mutation_ == Mutation::NoEmptyPlace ? me.pushed - s.count[p] >= shape_.places
                                                    : after(ring.write) == me.readSeen) {
                if (after(ring.write) != ring.read && mutation_ != Mutation::NoEmptyPlace)
                    s.wrong = kRoom;
                ++me.item;
                me.at = kTicket;
                return "is refused";
            }
            me.at = kStore;
            return "finds a place";
        default:
            me.place = static_cast<std::uint8_t>(ring.write + 1);
            me.filling = {me.ticket, me.item};
            me.write = static_cast<std::uint8_t>(after(ring.write) + 1);
            ++me.pushed;
            ++me.item;
            me.at = kTicket;
            return "stores element and write index";
        }
    }

    const char* consume(State& s) const {
        switch (s.at) {
        case kScan:
            return scan(s);
        case kTake:
            s.at = kAdvance;
            if (mutation_ == Mutation::ReleaseFirst) {
                advance(s);
                return "consumer gives the place back";
            }
            take(s, s.ring[s.best].read);
            return "consumer moves the element out";
        default:
            if (mutation_ == Mutation::ReleaseFirst)
                take(s, static_cast<std::uint8_t>((s.ring[s.best].read + shape_.places - 1) % shape_.places));
            else
                advance(s);
            s.best = kNone;
            s.scan = 0;
            s.at = kScan;
            return "consumer goes on";
        }
    }

    bool look(Ring& ring) const {
        if (ring.made == 0)
            return false;
        if (ring.read == ring.writeSeen && (mutation_ != Mutation::StaleWrite || ring.writeSeen == 0))
            ring.writeSeen = ring.write;
        return ring.read != ring.writeSeen;
    }

    const char* scan(State& s) const {
        if (s.scan == 0) {
            bool any = false;
            for (int i = 0; i < kProducers; ++i) {
                const Ring& ring = s.ring[i];
                const bool holds = ring.made != 0 && ring.read != ring.write;
                s.seen[i] = holds ? ring.slots[ring.read].ticket : std::uint8_t{0};
                any = any || holds;
            }
            if (!any)
                return nullptr; // nothing to find: the caller comes back later
        }
        Ring& ring = s.ring[s.scan];
        if (look(ring)) {
            const std::uint8_t ticket = ring.slots[ring.read].ticket;
            if (mutation_ == Mutation::FirstRing || ticket == s.nextTicket) {
                s.best = s.scan;
                s.bestTicket = ticket;
                s.at = kTake;
                return "consumer finds the next ticket";
            }
            if (s.best == kNone || ticket < s.bestTicket) {
                s.best = s.scan;
                s.bestTicket = ticket;
            }
        }
        if (++s.scan < kProducers)
            return "consumer looks at a ring";
        s.scan = 0;
        if (s.best != kNone)
            s.at = kTake;
        return "consumer has looked at all";
    }

    void take(State& s, std::uint8_t place) const {
        Slot& slot = s.ring[s.best].slots[place];
        const int p = s.owner[s.best] - 1;
        if (slot.element == 0)
            s.wrong = kGarbage;
        else if (slot.element <= s.taken[p])
            s.wrong = kOrder;
        for (int i = 0; i < kProducers; ++i)
            if (s.seen[i] != 0 && s.seen[i] < slot.ticket &&
                (order_ == Order::Always || s.seen[i] >= s.nextTicket))
                s.wrong = kTickets;
        s.taken[p] = slot.element;
        ++s.count[p];
        s.nextTicket = static_cast<std::uint8_t>(slot.ticket + 1);
        slot = {};
        for (std::uint8_t& ticket : s.seen)
            ticket = 0;
        s.bestTicket = 0;
    }
    void advance(State& s) const { s.ring[s.best].read = after(s.ring[s.best].read); }

    Shape shape_;
    Mutation mutation_;
    Order order_;
};

// Few elements for many threads, and more than a ring has places.
constexpr Shape kShapes[] = {{2, 2, 3}, {2, 3, 2}, {3, 1, 2}};

Explored exploreAll(Mutation mutation, Order order = Order::UnlessOvertaken) {
    return exploreShapes(kShapes, [=](const Shape& shape) { return QueueModel(shape, mutation, order); });
}

TEST(QueueModel, NothingLostNothingTwiceAndInOrder) {
    const Explored all = exploreAll(Mutation::None);
    EXPECT_TRUE(all.holds()) << all.broken << "\n" << all.trace;
    std::printf("%zu states\n", all.states);
}

// A ticket that was drawn and not yet stored may be overtaken. The short way out of the scan then lets those
// overtake it that follow on the last one taken, for as long as they come from a ring made before its own.
TEST(QueueModel, AnElementOnceOvertakenMayBeOvertakenAgain) {
    EXPECT_EQ(exploreAll(Mutation::None, Order::Always).broken, "an element was overtaken");
}

// The place that stays empty is the one behind the read index.
TEST(QueueModel, ThePlaceMayBeGivenBackBeforeTheElementIsOut) {
    const Explored all = exploreAll(Mutation::ReleaseFirst);
    EXPECT_TRUE(all.holds()) << all.broken << "\n" << all.trace;
}

TEST(QueueModel, EachReorderedStepIsFound) {
    const auto broken = [](Mutation mutation) { return exploreAll(mutation).broken; };
    EXPECT_EQ(broken(Mutation::PublishFirst), "the consumer took what was not stored");
    EXPECT_NE(broken(Mutation::NoEmptyPlace), "");
    EXPECT_EQ(broken(Mutation::FirstRing), "an element was overtaken");
    EXPECT_EQ(broken(Mutation::NeverReload), "an element was refused though there was room");
    EXPECT_NE(broken(Mutation::StaleWrite), ""); // lost, but first overtaken
}

} // namespace
} // namespace ferrow::test
