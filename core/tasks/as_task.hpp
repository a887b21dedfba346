// A call that the library makes on a host's thread.
#pragma once

#include <functional>
#include <memory>

namespace ferrow {

class asyncObject;

struct asTask {
    std::function<void()> function;
    // Keeps the posting object alive until the call has been made; empty for a Deleted notice.
    std::shared_ptr<asyncObject> owner;
};

} // namespace ferrow
