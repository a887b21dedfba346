// Resident memory over the time of a run, and the line through it.
#pragma once

#include <vector>

namespace ferrow::soak {

// Of this process, in MB (10^6 bytes).
double residentMegabytes();
// Of these what has been allocated and not been released: the rest is what the allocator keeps, and code.
double allocatedMegabytes();

class MemoryLine {
public:
    void add(double seconds, double megabytes) { points_.push_back({seconds, megabytes}); }

    struct Fit {
        double hours = 0;                     // that the line covers
        double first = 0, last = 0, most = 0; // MB
        double slope = 0;                     // MB an hour
        double scatter = 0;                   // root mean square beside the line, MB
        // What counts as flat: 1 MB an hour, and in less than 20 minutes as much more as the scatter can
        // feign.
        double bound = 1;
    };
    // Of what came from `seconds` on.
    Fit fit(double seconds) const;

    struct Point {
        double seconds, megabytes;
    };
    const std::vector<Point>& points() const { return points_; }

private:
    std::vector<Point> points_;
};

} // namespace ferrow::soak
