#include "tests/soak/memory_line.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <malloc.h>
#include <unistd.h>

namespace ferrow::soak {
namespace {

constexpr double kLong = 1200; // seconds from which the bound stands by itself
constexpr double kFeigned = 6; // times the scatter, over the length

} // namespace

double residentMegabytes() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

double allocatedMegabytes() {
    const struct mallinfo2 all = mallinfo2();
    return static_cast<double>(all.uordblks + all.hblkhd) / 1e6;
}

MemoryLine::Fit MemoryLine::fit(double seconds) const {
    Fit fit;
    double n = 0, x = 0, y = 0, xx = 0, xy = 0, end = seconds;
    for (const Point& point : points_) {
        if (point.seconds < seconds)
            continue;
        if (n == 0)
            fit.first = point.megabytes;
        fit.last = point.megabytes;
        fit.most = std::max(fit.most, point.megabytes);
        const double hours = (point.seconds - seconds) / 3600;
        end = point.seconds;
        n += 1;
        x += hours;
        y += point.megabytes;
        xx += hours * hours;
        xy += hours * point.megabytes;
    }
    fit.hours = (end - seconds) / 3600;
    const double spread = n * xx - x * x;
    if (spread <= 0)
        return fit;
    fit.slope = (n * xy - x * y) / spread;
    const double offset = (y - fit.slope * x) / n;
    double squares = 0;
    for (const Point& point : points_)
        if (point.seconds >= seconds)
            squares += std::pow(point.megabytes - offset - fit.slope * (point.seconds - seconds) / 3600, 2);
    fit.scatter = std::sqrt(squares / n);
    if (end - seconds < kLong)
        fit.bound = 1 + kFeigned * fit.scatter / fit.hours;
    return fit;
}

} // namespace ferrow::soak
