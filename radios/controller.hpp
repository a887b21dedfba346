// Common base of the objects that look for radios.
#pragma once

#include "core/async/async_object.hpp"

namespace ferrow {

class Controller : public asyncObject {
public:
    using asyncObject::asyncObject;
};

} // namespace ferrow
