// What a listener of the web page sends: orders as texts, and a microphone's sound. The first byte says which.
#include "fuzz/fuzz.hpp"
#include "host/serve/frames.hpp"

#include <cmath>
#include <cstdlib>

using namespace ferrow::serve;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    if (data[0] == kMicrophoneKind) {
        if (const auto frame = readMicrophone({data, size}))
            for (const float sample : frame->samples)
                if (!(std::abs(sample) <= 1))
                    std::abort();
        return 0;
    }
    const auto read = readOrder({reinterpret_cast<const char*>(data), size});
    if (const auto* error = std::get_if<OrderError>(&read)) {
        if (error->text.empty())
            std::abort();
        return 0;
    }
    // What has been accepted lies within its bounds.
    const Order& order = std::get<Order>(read);
    if (const auto* set = std::get_if<SetOrder>(&order)) {
        if (set->id < 1 || set->id > kHighestId || (set->low && set->high && *set->low >= *set->high) ||
            (set->volume && !(*set->volume >= 0 && *set->volume <= 1)))
            std::abort();
    } else if (const auto* view = std::get_if<ViewOrder>(&order)) {
        if ((view->bins && (*view->bins < kLeastBins || *view->bins > kMostBins)) ||
            (view->rate && !(*view->rate <= kMostFrames)))
            std::abort();
    }
    return 0;
}
