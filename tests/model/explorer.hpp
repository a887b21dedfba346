// Every interleaving of a few actors' atomic steps, for small models of lock-free algorithms.
//
// A model says how it begins, what an actor's next step does, and what must never be so. An actor is a
// thread, or something that happens by itself, such as a store buffer that drains. A step that would change
// nothing (a wait, a spin) is no step; a state in which no actor has one is an end, which the model judges as
// well: so lost wake-ups and endless spins show as ends with work left.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ferrow::test {

struct Explored {
    std::size_t states = 0;
    std::string broken; // what was wrong in the first such state; empty: nothing in all states
    std::string trace;  // the steps that lead there, one a line

    bool holds() const { return broken.empty(); }
};

// Model: `State` (plain bytes), `State first()`, `int actors()`, and
// `const char* step(State&, int actor)`: does the actor's next step and names it; null if it has none now;
// `const char* broken(const State&)`: what must never be and is; null if nothing;
// `const char* unfinished(const State&)`: the same of a state without steps.
template <class Model>
Explored explore(const Model& model, std::size_t most = 20'000'000) {
    using State = typename Model::State;
    static_assert(std::has_unique_object_representations_v<State>, "states are compared as bytes");
    struct Hash {
        std::size_t operator()(const State& state) const {
            unsigned char bytes[sizeof(State)];
            std::memcpy(bytes, &state, sizeof bytes);
            std::uint64_t hash = 1469598103934665603u;
            for (const unsigned char byte : bytes)
                hash = (hash ^ byte) * 1099511628211u;
            return hash ^ hash >> 29;
        }
    };
    struct Equal {
        bool operator()(const State& a, const State& b) const { return std::memcmp(&a, &b, sizeof a) == 0; }
    };
    struct Visit {
        const State* state;
        std::size_t from;
        const char* step;
        int actor;
    };
    std::unordered_map<State, std::size_t, Hash, Equal> known;
    std::vector<Visit> visits;
    Explored result;
    const auto fail = [&](const char* what, std::size_t at) {
        result.broken = what;
        for (; at != 0; at = visits[at].from)
            result.trace = std::to_string(visits[at].actor) + " " + visits[at].step + "\n" + result.trace;
    };
    const auto visit = [&](const State& state, std::size_t from, const char* step, int actor) {
        const auto [place, isNew] = known.try_emplace(state, visits.size());
        if (isNew)
            visits.push_back({&place->first, from, step, actor});
    };
    visit(model.first(), 0, "", 0);
    // Breadth first: the trace is as short as one can be.
    for (std::size_t at = 0; at < visits.size(); ++at) {
        const State state = *visits[at].state;
        result.states = visits.size();
        if (const char* what = model.broken(state)) {
            fail(what, at);
            return result;
        }
        bool ends = true;
        for (int actor = 0; actor < model.actors(); ++actor) {
            State next = state;
            if (const char* step = model.step(next, actor)) {
                ends = false;
                visit(next, at, step, actor);
            }
        }
        if (const char* what = ends ? model.unfinished(state) : nullptr) {
            fail(what, at);
            return result;
        }
        if (visits.size() > most) {
            fail("the model has too many states", 0);
            return result;
        }
    }
    return result;
}

// The models of `shapes` in turn, up to the first that does not hold.
template <class Shapes, class Make>
Explored exploreShapes(const Shapes& shapes, Make make) {
    Explored all;
    for (const auto& shape : shapes) {
        Explored one = explore(make(shape));
        one.states += all.states;
        all = std::move(one);
        if (!all.holds())
            break;
    }
    return all;
}

} // namespace ferrow::test
