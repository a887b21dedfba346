// The host's filter tables for a radio, as observable objects. The library only reads them, on the radio's
// context.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"

#include <memory>

namespace ferrow {

// A row of the simple table.
class J16 : public asyncObject {
public:
    explicit J16(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}
    // All three properties are valid from the start.
    J16(std::shared_ptr<syncTask> context, int edge) : asyncObject(std::move(context)) {
        maxfrequency.set(edge);
        rx.set(0);
        tx.set(0);
    }

    asyncProperty<int> maxfrequency{0}; // upper edge of the band, Hz
    asyncProperty<int> rx{0};           // filter word in receive
    asyncProperty<int> tx{0};           // and in transmit
};

// A band of a J16Filter.
class J16FilterBands : public asyncObject {
public:
    explicit J16FilterBands(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    asyncProperty<int> maxfrequency{0}; // upper edge, Hz
    asyncProperty<int> tx{0};           // filter word in transmit
};

// A receive row of a J16Filter: its place in the list is the set of bands that it serves.
class J16FilterRx : public asyncObject {
public:
    explicit J16FilterRx(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    asyncProperty<int> bands{0}; // the set, for the host's display
    asyncProperty<int> rx{0};    // filter word in receive
};

// Table whose receive filter suits all receivers at once.
class J16Filter : public asyncObject {
public:
    explicit J16Filter(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    asyncPersistantCollection<J16FilterBands> FilterBands;
    asyncPersistantCollection<J16FilterRx> FilterRx;
};

} // namespace ferrow
