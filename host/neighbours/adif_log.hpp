// A log file in ADIF that contacts are added to.
#pragma once

#include "host/neighbours/contact.hpp"

#include <string>

namespace ferrow {

class AdifLog {
public:
    // Opens or makes the file, and keeps other writers of this program out until it is closed. An end that
    // was cut short, as a power failure leaves it, is taken off and put into a file beside it, whose name has
    // ".damaged" at its end. Throws Failure if somebody else has the file, if it cannot be written, or is no
    // ADIF file.
    explicit AdifLog(std::string path);
    ~AdifLog();
    AdifLog(const AdifLog&) = delete;
    AdifLog& operator=(const AdifLog&) = delete;

    // Writes one record, in a single piece, through to the disk. Throws Failure, with the file as it was
    // before.
    void add(const Contact& contact);

    // Bytes that were taken off the end when it was opened.
    std::size_t repaired() const { return repaired_; }
    const std::string& path() const { return path_; }

private:
    void lock();
    void repair();
    void append(const std::string& text);

    std::string path_;
    int file_ = -1;
    std::size_t repaired_ = 0;
};

} // namespace ferrow
