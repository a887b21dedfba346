#include "host/serve/page.hpp"

namespace ferrow::serve {

const PageFile* findPageFile(std::string_view path) {
    if (path == "/")
        path = "/index.html";
    for (const PageFile& file : pageFiles())
        if (file.path == path)
            return &file;
    return nullptr;
}

} // namespace ferrow::serve
