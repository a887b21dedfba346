// What the library writes on the standard output about radios that tell it nowhere else.
#pragma once

#include <memory>
#include <string>

namespace ferrow {

// While it lives, remarks of the library on its connections are kept off the standard output; whatever else
// is written there through std::cout passes.
class LibraryWords {
public:
    explicit LibraryWords(bool showOnStderr);
    ~LibraryWords();
    LibraryWords(const LibraryWords&) = delete;
    LibraryWords& operator=(const LibraryWords&) = delete;

    // The last remark that tells of a failure, in plain words; empty if there was none.
    std::string complaint() const;
    // Whether a websocket connection has come to its end, in whichever way.
    bool connectionClosed() const;

private:
    class Filter;
    std::unique_ptr<Filter> filter_;
};

} // namespace ferrow
